#include "components.h"

#include "../core/detail.h"
#include "detail_label.h"
#include "detail_pixels.h"

namespace mutils {
namespace detail {
namespace {

/// Labels and count from a run set whose rows are described by row_first (all planes).
void finish_labels(RunSet& rs, uint32_t min_size, uint32_t*& lab, uint32_t* count) {
    lab = work_array<uint32_t>(std::max<int64_t>(rs.n, 1));
    uint32_t regions = number_runs(rs, lab);
    if (min_size >= 2) regions = drop_small(rs, regions, min_size, lab);
    *count = regions + 1;
}

template <class T> const char* components(const mat_t<T>* image, int32_t connectivity, T value, uint32_t min_size,
                                          _uint32_mat* labels, uint32_t* count) {
    validate(image);
    validate(labels);
    MUTILS_TRY(require_same_size(image, labels));
    if (!count) return msg::null_pointer;
    Hux::ArenaScope scope;
    BitImage bits = bit_image(image->nrow, image->ncol);
    pack_equal(image->data, value, bits);
    RunSet rs;
    int64_t* row_first = work_array<int64_t>(int64_t(image->nrow) + 1);
    label_bit_image(bits, connectivity != IMG_CONNECT_FOUR, rs, row_first);
    uint32_t* lab;
    finish_labels(rs, min_size, lab, count);
    write_labels(rs, lab, row_first, 0, image->nrow, image->ncol, labels->data);
    return nullptr;
}

template <class T>
const char* components_3d(const _mat_set* images, T value, uint32_t min_size, _mat_set* labels, uint32_t* count) {
    const int32_t nrow = images->mats[0].nrow, ncol = images->mats[0].ncol;
    const int64_t planes = images->nmat;
    Hux::ArenaScope scope;
    BitImage bits = bit_image(nrow, ncol);
    RunSet rs;
    rs.reserve(std::max<int64_t>(1024, int64_t(nrow) * 4));
    int64_t* row_first = work_array<int64_t>(planes * nrow + 1);
    for (int64_t p = 0; p < planes; ++p) {
        pack_equal(static_cast<const T*>(images->mats[p].data), value, bits);
        for (int64_t r = 0; r < nrow; ++r) {
            const int64_t row = p * nrow + r;
            row_first[row] = rs.n;
            append_row_runs(bits.row(r), bits.words, rs);
            if (r) link_runs(rs, row_first[row], rs.n, row_first[row - 1], row_first[row], 0);
            if (p) link_runs(rs, row_first[row], rs.n, row_first[row - nrow], row_first[row - nrow + 1], 0);
        }
    }
    row_first[planes * nrow] = rs.n;
    uint32_t* lab;
    finish_labels(rs, min_size, lab, count);
    for (int64_t p = 0; p < planes; ++p)
        write_labels(rs, lab, row_first + p * nrow, 0, nrow, ncol, static_cast<uint32_t*>(labels->mats[p].data));
    return nullptr;
}

}  // namespace
}  // namespace detail

using namespace detail;

const char* imgu8_connected_components(const _uint8_mat* a, _img_connected_type k, unsigned char v, uint32_t m, void*,
                                       _uint32_mat* l, uint32_t* n) {
    return components<unsigned char>(a, k, v, m, l, n);
}
const char* imgs16_connected_components(const _sint16_mat* a, _img_connected_type k, int16_t v, uint32_t m, void*,
                                        _uint32_mat* l, uint32_t* n) {
    return components<int16_t>(a, k, v, m, l, n);
}
const char* imgu32_connected_components(const _uint32_mat* a, _img_connected_type k, uint32_t v, uint32_t m, void*,
                                        _uint32_mat* l, uint32_t* n) {
    return components<uint32_t>(a, k, v, m, l, n);
}
const char* imgdbl_connected_components(const _double_mat* a, _img_connected_type k, double v, uint32_t m, void*,
                                        _uint32_mat* l, uint32_t* n) {
    return components<double>(a, k, v, m, l, n);
}

const char* imguniv_connected_components(const _univ_mat* a, _img_connected_type k, _univ_scalar v, uint32_t m, void*,
                                         _univ_mat* l, uint32_t* n) {
    if (!a || !l) return msg::null_pointer;
    if (l->type != MUTIL_UINT32 || v.type != a->type) return msg::illegal_data_type;
    _uint32_mat* labels = as<uint32_t>(l);
    switch (a->type) {
        case MUTIL_UINT8: return components<unsigned char>(as<unsigned char>(a), k, v.val.u8, m, labels, n);
        case MUTIL_UINT16:
        case MUTIL_SINT16:  // one 16-bit member: equality of bit patterns
            return components<int16_t>(as<int16_t>(a), k, v.val.s16, m, labels, n);
        case MUTIL_UINT32:
        case MUTIL_SINT32: return components<uint32_t>(as<uint32_t>(a), k, v.val.u32, m, labels, n);
        case MUTIL_DOUBLE: return components<double>(as<double>(a), k, v.val.dbl, m, labels, n);
        default: return msg::illegal_data_type;
    }
}

const char* imgset_connected_components_3d(const _mat_set* s, _img_connected_type, _univ_scalar v, uint32_t m, void*,
                                           _mat_set* l, uint32_t* n) {
    matset_verify_allsame(s);
    matset_verify_allsame(l);
    for (int32_t i = 0; i < s->nmat; ++i) validate_univ(&s->mats[i]);
    for (int32_t i = 0; i < l->nmat; ++i) validate_univ(&l->mats[i]);
    if (!n) return msg::null_pointer;
    if (l->mats[0].type != MUTIL_UINT32) return msg::illegal_data_type;
    if (l->nmat != s->nmat || l->mats[0].nrow != s->mats[0].nrow || l->mats[0].ncol != s->mats[0].ncol)
        return msg::array_size_mismatch;
    if (v.type != s->mats[0].type) return msg::illegal_data_type;
    switch (s->mats[0].type) {
        case MUTIL_UINT8: return components_3d<unsigned char>(s, v.val.u8, m, l, n);
        case MUTIL_UINT16: return components_3d<uint16_t>(s, v.val.u16, m, l, n);
        case MUTIL_UINT32:
        case MUTIL_SINT32: return components_3d<uint32_t>(s, v.val.u32, m, l, n);
        case MUTIL_DOUBLE: return components_3d<double>(s, v.val.dbl, m, l, n);
        default: return msg::illegal_data_type;
    }
}

}  // namespace mutils

MUTILS_PLAIN(imguniv_connected_components,
             (const mutils::_univ_mat* a, mutils::_img_connected_type k, mutils::_univ_scalar v, uint32_t m, void* i,
              mutils::_univ_mat* l, uint32_t* n),
             (a, k, v, m, i, l, n))
