// Storage records: allocation, validation, wrapping and matrix sets, with the raised messages.
#include <cstring>

#include "support.h"

namespace mutils::test {
namespace {

using StorageTest = ArenaTest;

TEST_F(StorageTest, MallocAndWrapRefuseEmptyExtentsAndUnknownTags) {
    _double_mat m;
    matdbl_malloc(&m, 1, 1);
    EXPECT_EQ(m.nelem, 1);
    EXPECT_EQ(raised([&] { matdbl_malloc(&m, 0, 3); }), "array size mismatch");
    EXPECT_EQ(raised([&] { matdbl_malloc(&m, 2, -1); }), "array size mismatch");
    EXPECT_EQ(raised([&] { matdbl_malloc(nullptr, 2, 2); }), "null pointer");

    _univ_mat u;
    EXPECT_EQ(raised([&] { matuniv_malloc(&u, 2, 2, MUTIL_SINT8); }), "Illegal data type");
    EXPECT_EQ(u.type, MUTIL_SINT8);  // the refused tag is kept
    EXPECT_EQ(raised([&] { matuniv_malloc(&u, 2, 2, static_cast<_mutil_data_type>(9)); }), "Illegal data type");
    // Wrapping admits tag 1 (signed 8-bit), which validation then refuses.
    unsigned char buf[4] = {};
    EXPECT_EQ(raised([&] { matuniv_wrap_data(&u, buf, 2, 2, MUTIL_SINT8); }), "");
    EXPECT_EQ(raised([&] { matuniv_validate(&u); }), "Illegal data type");
    EXPECT_EQ(raised([&] { matuniv_wrap_data(&u, buf, 2, 2, static_cast<_mutil_data_type>(9)); }),
              "Illegal data value");
    EXPECT_EQ(raised([&] { matuniv_wrap_data(&u, nullptr, 2, 2, MUTIL_UINT8); }), "null pointer");
    _uint8_mat t;
    EXPECT_EQ(raised([&] { matu8_wrap_data(&t, nullptr, 2, 2); }), "null pointer");
    EXPECT_EQ(raised([&] { matu8_wrap_data(&t, buf, 0, 2); }), "array size mismatch");
}

TEST_F(StorageTest, ValidateChecksInOrder) {
    double x = 0;
    const std::pair<_double_mat, const char*> cases[] = {{{2, 2, 4, nullptr}, "null pointer"},
                                                         {{0, 2, 0, &x}, "array size mismatch"},
                                                         {{1, 1, 2, &x}, "array size mismatch"},
                                                         {{1, 1, 1, &x}, ""}};
    for (auto [m, want] : cases) EXPECT_EQ(raised([&] { matdbl_validate(&m); }), want);
}

TEST_F(StorageTest, ReallocShrinkKeepsBlockGrowCopiesByFlatIndex) {
    _sint32_mat m = make<int32_t>(2, 3, {1, 2, 3, 4, 5, 6});
    int32_t* before = m.data;
    mats32_realloc(&m, 1, 2);
    EXPECT_EQ(m.data, before);
    EXPECT_EQ(m.nelem, 2);
    mats32_realloc(&m, 2, 1);  // same byte size: a new block with the same bytes
    EXPECT_NE(m.data, before);
    EXPECT_EQ(values(m), (std::vector<int32_t>{1, 2}));
    mats32_realloc(&m, 2, 2);
    EXPECT_EQ(std::vector<int32_t>(m.data, m.data + 2), (std::vector<int32_t>{1, 2}));
}

TEST_F(StorageTest, SetsValidateExtentsAndCount) {
    _mat_set s;
    int32_t dims[2] = {2, 3};
    matset_malloc(&s, 2, dims);
    EXPECT_EQ(s.nmat, 6);
    matset_malloc_matrices(&s, 4, 5, MUTIL_FLOAT);
    EXPECT_EQ(raised([&] { matset_verify_allsame(&s); }), "");
    s.nmat = 5;
    EXPECT_EQ(raised([&] { matset_validate(&s); }), "Illegal data value");
    s.nmat = 6;
    s.dims[1] = 0;
    EXPECT_EQ(raised([&] { matset_validate(&s); }), "array size mismatch");
    s.dims[1] = 3;
    int32_t flat[1] = {6};
    matset_resize(1, flat, &s);
    EXPECT_EQ(s.ndim, 1);
    int32_t wrong[1] = {5}, negative[2] = {-2, -3};  // -2 x -3 multiplies to 6 but is no shape
    EXPECT_EQ(raised([&] { matset_resize(1, wrong, &s); }), "array size mismatch");
    EXPECT_EQ(raised([&] { matset_resize(2, negative, &s); }), "array size mismatch");
    EXPECT_EQ(raised([&] { matset_resize(0, wrong, &s); }), "Illegal data value");
    int32_t huge[3] = {1 << 20, 1 << 20, 0};  // a zero extent is found before the product
    _mat_set t = s;
    t.ndim = 3;
    t.dims = huge;
    EXPECT_EQ(raised([&] { matset_validate(&t); }), "array size mismatch");
    huge[2] = 1;
    EXPECT_EQ(raised([&] { matset_validate(&t); }), "Illegal data value");
    matset_free(&s);
    EXPECT_EQ(raised([&] { matset_validate(&s); }), "null pointer");
}

TEST_F(StorageTest, SetComparisonsNameTheFirstDifference) {
    _mat_set a, b;
    int32_t dims[1] = {2};
    matset_malloc(&a, 1, dims);
    matset_malloc(&b, 1, dims);
    matset_malloc_matrices(&a, 2, 2, MUTIL_UINT8);
    matset_malloc_matrices(&b, 2, 2, MUTIL_UINT8);
    EXPECT_EQ(raised([&] { matset_verify_aresame(&a, &b); }), "");
    matuniv_malloc(&b.mats[1], 2, 2, MUTIL_UINT16);
    EXPECT_EQ(raised([&] { matset_verify_aresame(&a, &b); }), "Illegal data type");
    EXPECT_EQ(raised([&] { matset_verify_allsame(&b); }), "Illegal data type");
    matuniv_malloc(&b.mats[1], 2, 3, MUTIL_UINT8);
    EXPECT_EQ(raised([&] { matset_verify_allsame(&b); }), "array size mismatch");
}

TEST_F(StorageTest, RawBlocks) {
    void* p = nullptr;
    mutil_malloc(16, &p);
    ASSERT_NE(p, nullptr);
    std::memcpy(p, "0123456789abcdef", 16);
    void* q = p;
    mutil_realloc(&q, 8, 16);
    EXPECT_EQ(q, p);  // shrinking keeps the block
    mutil_realloc(&q, 32, 16);
    EXPECT_NE(q, p);
    EXPECT_EQ(std::memcmp(q, "0123456789abcdef", 16), 0);
    EXPECT_EQ(raised([] { mutil_malloc(4, nullptr); }), "null pointer");
    EXPECT_EQ(raised([] { mutil_realloc(nullptr, 4, 0); }), "null pointer");
}

TEST_F(StorageTest, PlainEntryPointsReturnZeroOrRaise) {
    _univ_mat u;
    EXPECT_EQ(::matuniv_malloc(&u, 2, 2, MUTIL_DOUBLE), MUTIL_ERR_OK);
    EXPECT_EQ(::matuniv_free(&u), MUTIL_ERR_OK);
    EXPECT_EQ(::mutil_free(nullptr), MUTIL_ERR_OK);
    EXPECT_THROW(::matuniv_malloc(&u, 0, 2, MUTIL_DOUBLE), Hux::Error);
}

TEST(ArenaScopeTest, ScopesReleaseAndRestore) {
    Hux::ImcAllocator* outer = Hux::ImcAllocator::m_current;
    ASSERT_NE(outer, nullptr);
    {
        Hux::ArenaScope scope;
        EXPECT_EQ(Hux::ImcAllocator::m_current, &scope.arena());
        void* p = Hux::ImcAllocator::m_current->allocate_array(3);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 64, 0u);
        Hux::ImcAllocator::m_current->allocate_array(10u << 20);  // larger than a chunk
        EXPECT_GE(scope.arena().reserved(), 10u << 20);
    }
    EXPECT_EQ(Hux::ImcAllocator::m_current, outer);
}

}  // namespace
}  // namespace mutils::test
