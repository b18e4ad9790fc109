// Error codes and texts, the host translation, plain entry points (codes found by message
// content), the interrupt poll and the host's standard message table.
#include <cstring>

#include "support.h"

namespace mutils::test {
namespace {

using ErrorsTest = ArenaTest;

TEST(ErrorCodes, TextsAreIndexedByCode) {
    const char* expected[17] = {"OK, no error",
                                "Memory allocation error",
                                "Passed in a null pointer",
                                "Illegal memory address",
                                "Illegal data size",
                                "Illegal data type",
                                "Illegal data value",
                                "Access past data bounds",
                                "Divide by zero",
                                "Input-output error",
                                "Data overflow",
                                "User interrupted calculation",
                                "Singular or nearly singular matrix",
                                "Iterative algorithm is not converging",
                                "Cumulative roundoff errors",
                                "Singularity encountered in data",
                                "Feature has not been implemented"};
    for (int code = 0; code < 17; ++code) {
        const char* text = nullptr;
        EXPECT_EQ(::mutil_err_string(static_cast<_mutil_errcode>(code), &text), MUTIL_ERR_OK);
        EXPECT_STREQ(text, expected[code]) << "code " << code;
    }
}

TEST(ErrorCodes, TranslationToHostNumbers) {
    const std::pair<int, int> table[] = {{0, 53},  {1, 46},  {2, 53},  {3, 53},  {4, 45},  {5, 53},
                                         {6, 53},  {7, 53},  {8, 49},  {9, 1},   {10, 48}, {11, 5},
                                         {12, 53}, {13, 53}, {14, 53}, {15, 53}, {16, 53}};
    for (auto [code, host] : table) EXPECT_EQ(::mutil_err_translate(static_cast<_mutil_errcode>(code)), host) << code;
}

TEST_F(ErrorsTest, PlainEntryPointsFindCodesByMessageContent) {
    _univ_mat d = make_univ<double>(2, 2), u8 = make_univ<unsigned char>(2, 2), small = make_univ<double>(1, 2);
    // "Illegal data type" is spelled like table entry 5 (at another address): code 5.
    EXPECT_EQ(::matuniv_subtract(&d, &d, nullptr, &u8), MUTIL_ERR_ILLEGAL_TYPE);
    EXPECT_EQ(::matuniv_add_scalar(&u8, scalar_dbl(300), nullptr, &u8), MUTIL_ERR_ILLEGAL_TYPE);
    // Lower-case operation messages match no table text: code 0, like success.
    EXPECT_EQ(::matuniv_subtract(&d, &small, nullptr, &d), MUTIL_ERR_OK);
    EXPECT_EQ(::matuniv_add_scalar(nullptr, scalar_u8(1), nullptr, &u8), MUTIL_ERR_OK);
    EXPECT_EQ(::matuniv_add_scalar(&u8, scalar_u8(1), nullptr, &u8), MUTIL_ERR_OK);
    EXPECT_EQ(values_of<unsigned char>(u8), (std::vector<unsigned char>{1, 1, 1, 1}));
    // Raised failures are not turned into codes.
    _univ_mat bad = u8;
    bad.data = nullptr;
    EXPECT_EQ(raised([&] { ::matuniv_add_scalar(&bad, scalar_u8(1), nullptr, &u8); }), "null pointer");
}

TEST(Interrupt, PollAdvancesOnceAndNeverStops) {
    EXPECT_EQ(mutil_interrupt(5, nullptr, nullptr), 0);
    double next = 0;
    EXPECT_EQ(mutil_interrupt(5, &next, nullptr), 0);
    EXPECT_EQ(next, 1000000.0);
    EXPECT_EQ(mutil_interrupt(5, &next, nullptr), 0);
    EXPECT_EQ(next, 1000000.0);
    next = 0;
    EXPECT_EQ(mutil_interrupt(5e6, &next, reinterpret_cast<void*>(1)), 0);  // one step, not until past
    EXPECT_EQ(next, 1000000.0);
}

TEST(Interrupt, HostPollStopsOnlyItsOwnCalls) {
    static int mine;
    Hux::set_interrupt_poll([](void* intrp) -> unsigned char { return intrp == &mine; });
    double next = 0;
    EXPECT_EQ(mutil_interrupt(5, &next, &mine), 1);
    EXPECT_EQ(mutil_interrupt(5, &next, &mine), 0);  // not past the next check: not asked
    next = 0;
    EXPECT_EQ(mutil_interrupt(5, &next, nullptr), 0);
    Hux::ArenaScope scope;
    _univ_mat a, r;
    matuniv_malloc(&a, 300, 300, MUTIL_DOUBLE);
    matuniv_malloc(&r, 300, 300, MUTIL_DOUBLE);
    matuniv_assign_scalar(scalar_dbl(1), nullptr, &a);
    EXPECT_STREQ(matuniv_add(&a, &a, &mine, &r), msg::interrupted);
    EXPECT_EQ(matuniv_add(&a, &a, nullptr, &r), nullptr);
    Hux::set_interrupt_poll(nullptr);
    EXPECT_EQ(matuniv_add(&a, &a, &mine, &r), nullptr);
}

TEST(ErrorMessages, HostTableSharesTheOperationMessages) {
    EXPECT_EQ(qnl_std_error_messages[4], msg::interrupted);
    EXPECT_EQ(qnl_std_error_messages[18], msg::array_size_mismatch);
    EXPECT_EQ(qnl_std_error_messages[24], msg::overflow);
    EXPECT_EQ(qnl_std_error_messages[26], msg::not_converging);
    EXPECT_STREQ(qnl_std_error_messages[0], "file not found");
    EXPECT_STREQ(qnl_std_error_messages[8], "HuxMustBeScalarOrArray");
    EXPECT_STREQ(qnl_std_error_messages[32], "significance lost");
    EXPECT_EQ(sizeof(qnl_std_error_messages) / sizeof(char*), 33u);
}

}  // namespace
}  // namespace mutils::test
