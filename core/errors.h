/// @file
/// Error codes, operation messages, the host error translation and the interrupt poll.
///
/// Operations in namespace mutils report by message: a null `const char*` is success, anything
/// else points at one of the fixed texts in `mutils::msg`. The plain (global) entry points
/// report the same outcome as a `_mutil_errcode`, found by comparing the message text with the
/// code table: only messages spelled exactly like a table text ("Illegal memory address",
/// "Illegal data type", "Illegal data value", "Input-output error", "Cumulative roundoff
/// errors") give a non-zero code; every other message, "interrupted" included, gives 0.
#pragma once

#include "types.h"

namespace mutils {

/// Error codes of the plain entry points (0 on success), in the order of the host message table.
enum _mutil_errcode : int32_t {
    MUTIL_ERR_OK = 0,
    MUTIL_ERR_MEM = 1,
    MUTIL_ERR_NULL_POINTER = 2,
    MUTIL_ERR_ILLEGAL_ADDRESS = 3,
    MUTIL_ERR_ILLEGAL_SIZE = 4,
    MUTIL_ERR_ILLEGAL_TYPE = 5,
    MUTIL_ERR_ILLEGAL_VALUE = 6,
    MUTIL_ERR_OUT_OF_BOUNDS = 7,
    MUTIL_ERR_DIVIDE_BY_ZERO = 8,
    MUTIL_ERR_IO = 9,
    MUTIL_ERR_OVERFLOW = 10,
    MUTIL_ERR_INTERRUPT = 11,
    MUTIL_ERR_SINGULAR = 12,
    MUTIL_ERR_NOT_CONVERGING = 13,
    MUTIL_ERR_ROUNDOFF = 14,
    MUTIL_ERR_SINGULARITY = 15,
    MUTIL_ERR_NOT_IMPLEMENTED = 16
};

/// Levels of the message-printing entry points; nothing reads them.
enum _mutil_msg_level : int32_t { MUTIL_MSG_DEBUG = 0, MUTIL_MSG_INFO = 1, MUTIL_MSG_WARNING = 2, MUTIL_MSG_ERROR = 3 };

/// The fixed operation messages (compare by content; entries of the host table share storage
/// with interrupted, array_size_mismatch, overflow and not_converging).
namespace msg {
extern MUTILS_API const char null_pointer[];            ///< "null pointer"
extern MUTILS_API const char array_size_mismatch[];     ///< "array size mismatch"
extern MUTILS_API const char illegal_data_type[];       ///< "Illegal data type"
extern MUTILS_API const char illegal_data_value[];      ///< "Illegal data value"
extern MUTILS_API const char illegal_memory_address[];  ///< "Illegal memory address"
extern MUTILS_API const char interrupted[];             ///< "interrupted"
extern MUTILS_API const char overflow[];                ///< "overflow"
extern MUTILS_API const char index_out_of_bounds[];     ///< "index out of bounds"
extern MUTILS_API const char not_converging[];          ///< "not converging"
extern MUTILS_API const char singular_matrix[];         ///< "singular matrix"
extern MUTILS_API const char roundoff[];                ///< "Cumulative roundoff errors"
extern MUTILS_API const char divide_by_zero[];          ///< "divide by zero"
extern MUTILS_API const char out_of_memory[];           ///< "out of memory"
extern MUTILS_API const char io_error[];                ///< "Input-output error"
extern MUTILS_API const char region_grid_format[];      ///< "the initial region grid sizes must be %ld or more"
}  // namespace msg

/// The code passed with every raised error.
constexpr unsigned MUTIL_RAISE_CODE = 0xFFFFFFFFu;

/// Interrupt poll: with a non-null `next_check` below `work`, advances `*next_check` by the
/// process-wide step (1000000, reset to 10000000 if it was ever 0). The library itself never
/// asks to stop and never examines `intrp_ptr`: after advancing, a non-null `intrp_ptr` is
/// handed to the host's poll (`Hux::set_interrupt_poll`), whose answer is returned; without
/// one the answer is false.
MUTILS_API unsigned char mutil_interrupt(double work, double* next_check, void* intrp_ptr);

/// @{
/// Message printing: accepted and ignored (the library prints nothing).
MUTILS_API void mutil_msg_print(_mutil_msg_level level, const char* text, const char* where, int line);
MUTILS_API void mutil_msg_print_line(unsigned char flag);
MUTILS_API void mutil_msg_print_time(unsigned char flag);
MUTILS_API void mutil_msg_set_level(_mutil_msg_level level);
MUTILS_API void mutil_abort();
/// @}

}  // namespace mutils

/// The host's standard error numbers that the library produces.
enum _std_errormsg : int32_t {
    STD_ERR_FILE_IO = 1,
    STD_ERR_INTERRUPTED = 5,
    STD_ERR_BAD_SIZE = 45,
    STD_ERR_OUT_OF_MEMORY = 46,
    STD_ERR_OVERFLOW = 48,
    STD_ERR_DIVIDE_BY_ZERO = 49,
    STD_ERR_OTHER = 53
};

/// The host's standard error texts and message keys (33 entries; the library never reads it).
extern MUTILS_API char* qnl_std_error_messages[33];

/// Stores the table text of `code` (0 to 16; not range-checked) in `*text`; returns 0.
MUTILS_API mutils::_mutil_errcode mutil_err_string(mutils::_mutil_errcode code, const char** text);

/// Maps a code to the host's error number: 1->46, 4->45, 8->49, 9->1, 10->48, 11->5, else 53.
MUTILS_API _std_errormsg mutil_err_translate(mutils::_mutil_errcode code);
