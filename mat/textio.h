/// @file
/// Matrices as text on caller-opened streams: the self-describing printed form (print, parse) and
/// plain numeric text (read_ascii, write_ascii). The library never opens or closes a stream.
///
/// Typed members exist for double, float, u8, u16, u32, s16 and s32; each operation also has a
/// universal member that dispatches on the element type (complex matrices, and tag 1, are
/// "Illegal data type"). A record with no elements (0 rows or 0 columns, nelem 0) is accepted by
/// print, write_ascii and read_ascii: nothing is read or written but print's header; any other
/// invalid record raises as validate does.
///
/// Printed form, e.g. a 2 x 3 double matrix with the default format and line width:
///
///     double Matrix: nrow=2, ncol=3  {
///         Row[0]:  1 2.5 -3
///         Row[1]:  4 5 6
///     }
///
///   The type word ("double", "float", "uint8", "uint16", "uint32", "sint16", "sint32"), then
///   " Matrix: nrow=%ld, ncol=%ld  {\n"; each row starts with the label "    Row[%*ld]:  " whose
///   number field is w = max(floor(log10(nrow)), 1) wide, and ends with "\n"; then "}\n".
///   Each value is printed with the caller's format or the type's default: "%g " (double, float),
///   "%u " (u8), "%hu " (u16), "%lu " (u32), "%hd " (s16), "%ld " (s32).
///   Wrapping: the current column starts at the label's length; before each value, when the
///   column exceeds the line width (75 when the caller's is below 1) minus the length of the
///   previous value (1 before the first), "\n" and w + 12 blanks are printed and the column
///   becomes that string's printed length, w + 13. Continuation values thus line up under the
///   first value.
///   The caller's format must hold exactly one conversion (and any text, "%%" included): for
///   float and double matrices one of a A e E f F g G, with no length or "l"; for integer
///   matrices also d i o u x X with the length hh, h, none, l or ll. Each value is passed as the
///   type the conversion reads (double; int or unsigned for hh, h and none; long or unsigned
///   long for l; long long or unsigned long long for ll), so "%ld" and "%d" both work on s32.
///   Widths and precisions must be digits ("*" is refused), "%n" and "%s" are refused: any
///   other format is "Illegal data value". A failed write is "Input-output error". Print
///   polls the interrupt but never stops.
///
/// Parse reads one printed matrix and allocates the result (from the arena): the type word
/// ("Illegal data type" when it is not the member's own; `matuniv_parse` picks the member from
/// it and sets the universal record's type), the header (blanks between tokens are free; a
/// missing or malformed part is "Input-output error"), the rows (each label, then ncol values:
/// a missing, truncated or malformed value is "Input-output error") and the closing "}". It
/// stops right after "}", so several printed matrices can follow each other on one stream.
/// Values of float and double matrices outside [-1e37, 1e37] (NaN passes) and values of integer
/// matrices that are not integers of the element type's range are "Illegal data value".
/// Non-positive sizes raise "array size mismatch" as allocation does; sizes whose product
/// exceeds 2^31 - 1 are "Illegal data value". Storage grows with the values actually read, and
/// on a seekable stream a header that promises more values than the rest of the stream can hold
/// is "Input-output error" before anything is allocated, so a forged header cannot cause a
/// large allocation. `matuniv_parse` needs a seekable stream: it reads the type word, returns
/// to where it started ("Input-output error" when the position cannot be taken or restored; an
/// empty stream also restores it) and parses with the typed member.
///
/// Plain text: `write_ascii(stream, m, separator, line_width, intrp)` prints every value with
/// "%10g" (double, float), "%u" (u8), "%hu", "%lu", "%hd" or "%ld", each followed by the
/// separator, and ends every row with "\n". A non-zero line width limits the lines: before a
/// value that would make the current line longer, "\n" starts a new line (a value longer than
/// the width stands alone on its line). A null separator is "null pointer".
/// `read_ascii(stream, separator, comment, intrp, m)` reads nelem values in storage order
/// into the already allocated m, line structure ignored. When no value can be read, comments
/// are skipped and the read tried once more: skipping passes blanks and separator characters,
/// and at the comment character the rest of its line, as often as they come. A value that
/// still cannot be read is "Input-output error"; an integer-matrix value that is not an
/// integer of the element type's range, or a float value beyond the float range, is "Illegal
/// data value". Values already read stay in the matrix. Both poll the interrupt and may
/// return "interrupted".
///
///     FILE* f = std::tmpfile();
///     mutils::matdbl_print(f, &m, "%.17g ", 0, nullptr);    // exact round trip for doubles
///     std::rewind(f);
///     mutils::_univ_mat back;
///     mutils::matuniv_parse(f, nullptr, &back);             // back.type == MUTIL_DOUBLE
#pragma once

#include <cstdio>

#include "../core/errors.h"

namespace mutils {

/// @{
/// `print` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matdbl_print(FILE* stream, const _double_mat* m, const char* format, int line_width,
                                    void* intrp_ptr);
MUTILS_API const char* matflt_print(FILE* stream, const _float_mat* m, const char* format, int line_width,
                                    void* intrp_ptr);
MUTILS_API const char* matu8_print(FILE* stream, const _uint8_mat* m, const char* format, int line_width,
                                   void* intrp_ptr);
MUTILS_API const char* matu16_print(FILE* stream, const _uint16_mat* m, const char* format, int line_width,
                                    void* intrp_ptr);
MUTILS_API const char* matu32_print(FILE* stream, const _uint32_mat* m, const char* format, int line_width,
                                    void* intrp_ptr);
MUTILS_API const char* mats16_print(FILE* stream, const _sint16_mat* m, const char* format, int line_width,
                                    void* intrp_ptr);
MUTILS_API const char* mats32_print(FILE* stream, const _sint32_mat* m, const char* format, int line_width,
                                    void* intrp_ptr);
MUTILS_API const char* matuniv_print(FILE* stream, const _univ_mat* m, const char* format, int line_width,
                                     void* intrp_ptr);
/// @}

/// @{
/// `parse` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matdbl_parse(FILE* stream, void* intrp_ptr, _double_mat* m);
MUTILS_API const char* matflt_parse(FILE* stream, void* intrp_ptr, _float_mat* m);
MUTILS_API const char* matu8_parse(FILE* stream, void* intrp_ptr, _uint8_mat* m);
MUTILS_API const char* matu16_parse(FILE* stream, void* intrp_ptr, _uint16_mat* m);
MUTILS_API const char* matu32_parse(FILE* stream, void* intrp_ptr, _uint32_mat* m);
MUTILS_API const char* mats16_parse(FILE* stream, void* intrp_ptr, _sint16_mat* m);
MUTILS_API const char* mats32_parse(FILE* stream, void* intrp_ptr, _sint32_mat* m);
MUTILS_API const char* matuniv_parse(FILE* stream, void* intrp_ptr, _univ_mat* m);
/// @}

/// @{
/// `read_ascii` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matdbl_read_ascii(FILE* stream, char separator, char comment, void* intrp_ptr, _double_mat* m);
MUTILS_API const char* matflt_read_ascii(FILE* stream, char separator, char comment, void* intrp_ptr, _float_mat* m);
MUTILS_API const char* matu8_read_ascii(FILE* stream, char separator, char comment, void* intrp_ptr, _uint8_mat* m);
MUTILS_API const char* matu16_read_ascii(FILE* stream, char separator, char comment, void* intrp_ptr, _uint16_mat* m);
MUTILS_API const char* matu32_read_ascii(FILE* stream, char separator, char comment, void* intrp_ptr, _uint32_mat* m);
MUTILS_API const char* mats16_read_ascii(FILE* stream, char separator, char comment, void* intrp_ptr, _sint16_mat* m);
MUTILS_API const char* mats32_read_ascii(FILE* stream, char separator, char comment, void* intrp_ptr, _sint32_mat* m);
MUTILS_API const char* matuniv_read_ascii(FILE* stream, char separator, char comment, void* intrp_ptr, _univ_mat* m);
/// @}

/// @{
/// `write_ascii` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matdbl_write_ascii(FILE* stream, const _double_mat* m, const char* separator,
                                          uint16_t line_width, void* intrp_ptr);
MUTILS_API const char* matflt_write_ascii(FILE* stream, const _float_mat* m, const char* separator, uint16_t line_width,
                                          void* intrp_ptr);
MUTILS_API const char* matu8_write_ascii(FILE* stream, const _uint8_mat* m, const char* separator, uint16_t line_width,
                                         void* intrp_ptr);
MUTILS_API const char* matu16_write_ascii(FILE* stream, const _uint16_mat* m, const char* separator,
                                          uint16_t line_width, void* intrp_ptr);
MUTILS_API const char* matu32_write_ascii(FILE* stream, const _uint32_mat* m, const char* separator,
                                          uint16_t line_width, void* intrp_ptr);
MUTILS_API const char* mats16_write_ascii(FILE* stream, const _sint16_mat* m, const char* separator,
                                          uint16_t line_width, void* intrp_ptr);
MUTILS_API const char* mats32_write_ascii(FILE* stream, const _sint32_mat* m, const char* separator,
                                          uint16_t line_width, void* intrp_ptr);
MUTILS_API const char* matuniv_write_ascii(FILE* stream, const _univ_mat* m, const char* separator, uint16_t line_width,
                                           void* intrp_ptr);
/// @}

}  // namespace mutils
