/// @file
/// Matrix records, element-type and boundary enumerations shared by every subsystem.
///
/// Matrices are dense and row-major: element (r, c) of a record is data[r * ncol + c],
/// with no row stride. A `_univ_mat` is layout-compatible with every typed record in its
/// first four fields and carries its element type as a tag.
#pragma once

#include <cstddef>
#include <cstdint>

#if defined(_WIN32)
#define MUTILS_API __declspec(dllexport)
#else
#define MUTILS_API __attribute__((visibility("default")))
#endif

namespace mutils {

/// Element-type tag. Value 1 exists for scalars only: no matrix holds signed 8-bit data.
enum _mutil_data_type : int32_t {
    MUTIL_UINT8 = 0,
    MUTIL_SINT8 = 1,
    MUTIL_UINT16 = 2,
    MUTIL_SINT16 = 3,
    MUTIL_UINT32 = 4,
    MUTIL_SINT32 = 5,
    MUTIL_FLOAT = 6,
    MUTIL_DOUBLE = 7,
    MUTIL_DCOMPLEX = 8
};

/// How neighbourhood operations read positions outside a matrix (row and column mapped
/// independently): 0 zero, 1 periodic (i mod n), 2 reflect with the edge repeated
/// (-1 -> 0, n -> n-1), 3 continue the nearest edge sample.
enum _mutil_boundary_type : int32_t {
    MUTIL_BOUNDARY_ZERO = 0,
    MUTIL_BOUNDARY_PERIODIC = 1,
    MUTIL_BOUNDARY_REFLECT = 2,
    MUTIL_BOUNDARY_CONTINUE = 3
};

/// A complex double: real and imaginary parts.
struct _dcomplex {
    double re;  ///< real part
    double im;  ///< imaginary part
};

/// A matrix of doubles: `nrow` x `ncol` elements stored row by row.
struct _double_mat {
    int32_t nrow;   ///< rows
    int32_t ncol;   ///< columns
    int32_t nelem;  ///< elements, nrow * ncol
    double* data;   ///< the elements, row by row
};

/// A matrix of floats: `nrow` x `ncol` elements stored row by row.
struct _float_mat {
    int32_t nrow;   ///< rows
    int32_t ncol;   ///< columns
    int32_t nelem;  ///< elements, nrow * ncol
    float* data;    ///< the elements, row by row
};

/// A matrix of unsigned 8-bit integers: `nrow` x `ncol` elements stored row by row.
struct _uint8_mat {
    int32_t nrow;         ///< rows
    int32_t ncol;         ///< columns
    int32_t nelem;        ///< elements, nrow * ncol
    unsigned char* data;  ///< the elements, row by row
};

/// A matrix of unsigned 16-bit integers: `nrow` x `ncol` elements stored row by row.
struct _uint16_mat {
    int32_t nrow;    ///< rows
    int32_t ncol;    ///< columns
    int32_t nelem;   ///< elements, nrow * ncol
    uint16_t* data;  ///< the elements, row by row
};

/// A matrix of unsigned 32-bit integers: `nrow` x `ncol` elements stored row by row.
struct _uint32_mat {
    int32_t nrow;    ///< rows
    int32_t ncol;    ///< columns
    int32_t nelem;   ///< elements, nrow * ncol
    uint32_t* data;  ///< the elements, row by row
};

/// A matrix of signed 16-bit integers: `nrow` x `ncol` elements stored row by row.
struct _sint16_mat {
    int32_t nrow;   ///< rows
    int32_t ncol;   ///< columns
    int32_t nelem;  ///< elements, nrow * ncol
    int16_t* data;  ///< the elements, row by row
};

/// A matrix of signed 32-bit integers: `nrow` x `ncol` elements stored row by row.
struct _sint32_mat {
    int32_t nrow;   ///< rows
    int32_t ncol;   ///< columns
    int32_t nelem;  ///< elements, nrow * ncol
    int32_t* data;  ///< the elements, row by row
};

/// A matrix of complex doubles: `nrow` x `ncol` elements stored row by row.
struct _dcomplex_mat {
    int32_t nrow;     ///< rows
    int32_t ncol;     ///< columns
    int32_t nelem;    ///< elements, nrow * ncol
    _dcomplex* data;  ///< the elements, row by row
};

/// A matrix of any element type; `type` names the element type of `data`.
struct _univ_mat {
    int32_t nrow;           ///< rows
    int32_t ncol;           ///< columns
    int32_t nelem;          ///< elements, nrow * ncol
    void* data;             ///< the elements, row by row
    _mutil_data_type type;  ///< element type of `data`
};

/// An n-dimensional array of universal matrices (colour planes, image stacks, frames).
struct _mat_set {
    int32_t ndim;     ///< number of dimensions
    int32_t* dims;    ///< extent of each dimension
    int32_t nmat;     ///< number of matrices, the product of the extents
    _univ_mat* mats;  ///< the matrices, first dimension fastest
};

/// A scalar of any element type (tag 1, signed 8-bit, is legal here).
struct _univ_scalar {
    union {
        unsigned char u8;
        signed char s8;
        uint16_t u16;
        int16_t s16;
        uint32_t u32;
        int32_t s32;
        float flt;
        double dbl;
        _dcomplex cpx;
    } val;                  ///< the value, in the member that `type` names
    _mutil_data_type type;  ///< element type of the value
};

static_assert(sizeof(_univ_scalar::val) == 16, "scalar value holds a complex double");

/// @{
/// Convenience constructors for universal scalars.
inline _univ_scalar scalar_u8(unsigned char v) {
    _univ_scalar s{};
    s.val.u8 = v;
    s.type = MUTIL_UINT8;
    return s;
}
inline _univ_scalar scalar_s8(signed char v) {
    _univ_scalar s{};
    s.val.s8 = v;
    s.type = MUTIL_SINT8;
    return s;
}
inline _univ_scalar scalar_u16(uint16_t v) {
    _univ_scalar s{};
    s.val.u16 = v;
    s.type = MUTIL_UINT16;
    return s;
}
inline _univ_scalar scalar_s16(int16_t v) {
    _univ_scalar s{};
    s.val.s16 = v;
    s.type = MUTIL_SINT16;
    return s;
}
inline _univ_scalar scalar_u32(uint32_t v) {
    _univ_scalar s{};
    s.val.u32 = v;
    s.type = MUTIL_UINT32;
    return s;
}
inline _univ_scalar scalar_s32(int32_t v) {
    _univ_scalar s{};
    s.val.s32 = v;
    s.type = MUTIL_SINT32;
    return s;
}
inline _univ_scalar scalar_flt(float v) {
    _univ_scalar s{};
    s.val.flt = v;
    s.type = MUTIL_FLOAT;
    return s;
}
inline _univ_scalar scalar_dbl(double v) {
    _univ_scalar s{};
    s.val.dbl = v;
    s.type = MUTIL_DOUBLE;
    return s;
}
inline _univ_scalar scalar_cpx(_dcomplex v) {
    _univ_scalar s{};
    s.val.cpx = v;
    s.type = MUTIL_DCOMPLEX;
    return s;
}
/// @}

}  // namespace mutils
