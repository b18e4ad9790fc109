#include "errors.h"

#include <atomic>
#include <cstring>

#include "detail.h"

namespace mutils {
namespace msg {
const char null_pointer[] = "null pointer";
const char array_size_mismatch[] = "array size mismatch";
const char illegal_data_type[] = "Illegal data type";
const char illegal_data_value[] = "Illegal data value";
const char illegal_memory_address[] = "Illegal memory address";
const char interrupted[] = "interrupted";
const char overflow[] = "overflow";
const char index_out_of_bounds[] = "index out of bounds";
const char not_converging[] = "not converging";
const char singular_matrix[] = "singular matrix";
const char roundoff[] = "Cumulative roundoff errors";
const char divide_by_zero[] = "divide by zero";
const char out_of_memory[] = "out of memory";
const char io_error[] = "Input-output error";
const char region_grid_format[] = "the initial region grid sizes must be %ld or more";
}  // namespace msg

namespace {
const char* const kCodeText[17] = {
    "OK, no error",
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
    "Feature has not been implemented",
};

// The process-wide poll step; only ever reset from 0. Atomic (relaxed) because every thread
// that polls reads it: the only state the library shares between threads.
std::atomic<double> g_interrupt_step{1000000.0};
// The host's poll behind mutil_interrupt (null: never stop).
std::atomic<Hux::InterruptPoll> g_host_poll{nullptr};
}  // namespace

namespace detail {
_mutil_errcode err_lookup(const char* message) {
    if (!message) return MUTIL_ERR_OK;
    for (int code = 0; code < 17; ++code)
        if (std::strcmp(message, kCodeText[code]) == 0) return static_cast<_mutil_errcode>(code);
    return MUTIL_ERR_OK;
}
}  // namespace detail

unsigned char mutil_interrupt(double work, double* next_check, void* intrp_ptr) {
    double step = g_interrupt_step.load(std::memory_order_relaxed);
    if (step == 0.0) {
        step = 10000000.0;
        g_interrupt_step.store(step, std::memory_order_relaxed);
    }
    if (!next_check) return 0;
    if (!(*next_check < work)) return 0;
    *next_check += step;
    const Hux::InterruptPoll poll = g_host_poll.load(std::memory_order_acquire);
    return poll && intrp_ptr ? poll(intrp_ptr) : 0;
}

void mutil_msg_print(_mutil_msg_level, const char*, const char*, int) {}
void mutil_msg_print_line(unsigned char) {}
void mutil_msg_print_time(unsigned char) {}
void mutil_msg_set_level(_mutil_msg_level) {}
void mutil_abort() {}

}  // namespace mutils

void Hux::set_interrupt_poll(InterruptPoll poll) { mutils::g_host_poll.store(poll, std::memory_order_release); }

namespace {
char k_file_not_found[] = "file not found";
char k_file_io[] = "file i/o error";
char k_unrecognized[] = "unrecognized image format";
char k_error_writing[] = "error writing file";
char k_illegal_context[] = "illegal context";
char k_error_constant[] = "error in constant";
char k_not_nested[] = "may not be nested";
char k_scalar_or_array[] = "HuxMustBeScalarOrArray";
char k_scalar_or_vector[] = "HuxMustBeScalarOrVector";
char k_scalar_or_real_vector[] = "HuxMustBeScalarOrRealVector";
char k_string_or_vector[] = "HuxMustBeStringOrVector";
char k_string_scalar_or_vector[] = "HuxMustBeStringScalarOrVector";
char k_positive[] = "must be positive";
char k_even[] = "must be even integer";
char k_nonnegative[] = "must be nonnegative";
char k_probability[] = "invalid probability value";
char k_increasing[] = "must be increasing";
char k_unequal[] = "unequal vector dimensions";
char k_not_packed[] = "not a packed image matrix";
char k_empty[] = "empty matrix";
char k_invalid_dim[] = "invalid dimension";
char k_too_big[] = "matrix too big";
char k_fp_error[] = "floating point error";
char k_too_many_iter[] = "too many iterations";
char k_unexpected[] = "unexpected return value";
char k_singularity[] = "singularity";
char k_int_small[] = "integer too small";
char k_int_large[] = "integer too large";
char k_significance[] = "significance lost";

char* shared(const char* s) { return const_cast<char*>(s); }
}  // namespace

char* qnl_std_error_messages[33] = {
    k_file_not_found,
    k_file_io,
    k_unrecognized,
    k_error_writing,
    shared(mutils::msg::interrupted),
    k_illegal_context,
    k_error_constant,
    k_not_nested,
    k_scalar_or_array,
    k_scalar_or_vector,
    k_scalar_or_real_vector,
    k_string_or_vector,
    k_string_scalar_or_vector,
    k_positive,
    k_even,
    k_nonnegative,
    k_probability,
    k_increasing,
    shared(mutils::msg::array_size_mismatch),
    k_unequal,
    k_not_packed,
    k_empty,
    k_invalid_dim,
    k_too_big,
    shared(mutils::msg::overflow),
    k_fp_error,
    shared(mutils::msg::not_converging),
    k_too_many_iter,
    k_unexpected,
    k_singularity,
    k_int_small,
    k_int_large,
    k_significance,
};

mutils::_mutil_errcode mutil_err_string(mutils::_mutil_errcode code, const char** text) {
    *text = mutils::kCodeText[code];
    return mutils::MUTIL_ERR_OK;
}

_std_errormsg mutil_err_translate(mutils::_mutil_errcode code) {
    switch (code) {
        case mutils::MUTIL_ERR_MEM: return STD_ERR_OUT_OF_MEMORY;
        case mutils::MUTIL_ERR_ILLEGAL_SIZE: return STD_ERR_BAD_SIZE;
        case mutils::MUTIL_ERR_DIVIDE_BY_ZERO: return STD_ERR_DIVIDE_BY_ZERO;
        case mutils::MUTIL_ERR_IO: return STD_ERR_FILE_IO;
        case mutils::MUTIL_ERR_OVERFLOW: return STD_ERR_OVERFLOW;
        case mutils::MUTIL_ERR_INTERRUPT: return STD_ERR_INTERRUPTED;
        default: return STD_ERR_OTHER;
    }
}
