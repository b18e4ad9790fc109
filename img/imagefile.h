/// @file
/// Portable bitmap, greymap and pixmap files (PBM, PGM, PPM: magic numbers P1 to P6) on a
/// caller-opened stream, and bilevel images as raw bit streams. The library never opens or
/// closes these streams.
///
/// Bilevel polarity: in a file a bit or digit 1 is a dark pixel. Writing, a pixel at or below
/// the threshold is written as 1 and a pixel above it as 0; reading, a 0 becomes the caller's
/// value (255 for PBM files) and a 1 becomes 0.
/// A NaN pixel of a double image counts as at or below the threshold (a dark bit 1), as
/// `imguniv_map_window_level` maps it to 0; the readers make integer images, which hold no NaN.
///
/// Packed bits: eight pixels per byte, the first pixel in the most significant bit, the whole
/// image taken as one run of rows x columns pixels in row order; only the last byte is padded
/// with zero bits, rows are not padded to a byte boundary. For widths that are not a multiple
/// of 8 this differs from the usual raw PBM layout, on purpose: files written here read back
/// exactly. (A 10 x 3 bitmap has a 4-byte body, where row padding would need 10 bytes.)
///
/// `imguniv_write_to_bits(stream, image, threshold, packed, separator, line_width, intrp_ptr)`:
/// the image is binarised with `imguniv_map_window_level(image, threshold, threshold)` (so its
/// type must be u8, u16, u32, s32 or double, else "Illegal data type"). Text form (packed = 0):
/// every pixel in row order as "1" or "0" followed by the separator (" " when null); before a
/// pixel that would make the line longer than `line_width` characters a "\n" starts a new line,
/// and the text ends with "\n". Packed form: the packed bytes, written raw.
///
/// `imguniv_read_from_bits(stream, value, packed, offset, separator, comment, intrp_ptr, result)`
/// fills an already sized `result` (u8, u16, u32 or double, of the value's type): pixels read as
/// 0 receive the value, all others 0. Text form: one pixel per digit, as in plain PBM files
/// ("0110" is four pixels, so are "0 1 1 0"); blanks, line ends and the separator character
/// separate nothing and are skipped, and the comment character skips the rest of its line; any
/// other character is "Input-output error". Packed form: `offset` bytes are skipped from the
/// stream's current position, then ceil(rows x columns / 8) bytes are read and unpacked.
///
/// `imguniv_write_pbm(stream, image, threshold, text, intrp_ptr)`: header "P1 <cols> <rows>\n"
/// (text) or "P4 <cols> <rows>\n" (packed), then the bits with separator " " and line width 70.
///
/// Greymaps and pixmaps. `imguniv_write_pgm(stream, image, text, intrp_ptr)` writes a u8 image as
/// "P2 <cols> <rows> <maxval>\n" and text (text non-zero) or "P5 ..." and raw bytes, u16 and u32
/// images always as P2 text; the maxval is the image's largest value (an image of zeros gets 1,
/// since 0 is no valid maxval). `imgset_write_ppm(stream, set, text, intrp_ptr)` does the same
/// for a set of exactly three matrices (red, green, blue) of one size and type, with P3 / P6, the
/// maxval the largest value of the three planes, and the samples of each pixel adjacent. Text
/// bodies: every value followed by " ", lines of at most 70 characters, every image row (of the
/// interleaved samples for pixmaps) ending in "\n". So a 1 x 2 pixmap writes, in text,
/// "P3 2 1 6\n1 2 3 4 5 6 \n".
///
/// `imguniv_read_pgm(stream, intrp_ptr, result)` reads P1, P2, P4 and P5 and
/// `imgset_read_ppm(stream, intrp_ptr, result)` reads P3 and P6; both allocate the result (a set
/// of three matrices for pixmaps). The header is "P" (after any blanks), the magic number, the width and the height
/// (each after any blanks; before the width and before the height one comment line, from "#" to
/// the line end, may stand), then for greymaps and pixmaps the maxval and exactly one character.
/// Comments elsewhere in the header are "Input-output error". The maxval sets the element type:
/// up to 255 u8, up to 65535 u16, up to 4294967295 u32. Bitmaps read into u8 with 255 for a 0
/// (white) and 0 for a 1 (black); P4 bodies are one run of packed bits, as written above. Text
/// bodies are white-space separated numbers with "#" comments (samples above the maxval are kept
/// as read); raw bodies of 16- and 32-bit samples are big-endian, as anymap tools write them.
/// The stream is left just after the body, so several images can follow each other.
///
/// Hostile files: on a seekable stream a body that needs more bytes than the rest of the stream
/// holds is "Input-output error" before anything is allocated; from a pipe the body is read in
/// blocks into storage that grows with what arrives. The library never closes the stream.
///
/// | condition                                                          | message              |
/// |--------------------------------------------------------------------|----------------------|
/// | null stream, image, set or result                                  | "null pointer"       |
/// | image or set of another type than u8, u16, u32                     | "Illegal data type"  |
/// | a set of other than three matrices, or of differing sizes or types | "array size mismatch"|
/// | no "P" and number, width or height unreadable, no maxval, a body   | "Input-output error" |
/// | short or malformed; a failed write                                 |                      |
/// | another magic number; maxval <= 0 or above 4294967295; a width or  | "Illegal data value" |
/// | height <= 0; a text sample beyond the element type                 |                      |
/// | more than 2^31 - 1 samples                                         | "out of memory"      |
/// | interruption                                                       | "interrupted"        |
///
/// | condition                                                          | message              |
/// |--------------------------------------------------------------------|----------------------|
/// | null stream or image                                               | "null pointer"       |
/// | complex image (PBM); image type that cannot be binarised; result    | "Illegal data type"  |
/// | missing or of another type than the value, or not u8/u16/u32/double |                      |
/// | packed reading with a negative offset                              | "Illegal data value" |
/// | a write that fails; a body shorter than the image or cut short;     | "Input-output error" |
/// | a character that is no digit, blank, separator or comment          |                      |
/// | interruption                                                       | "interrupted"        |
///
///     FILE* f = std::fopen("mask.pbm", "wb");
///     mutils::imguniv_write_pbm(f, &mask, 0.5, 0, nullptr);   // packed P4: values > 0.5 white
///     std::fclose(f);
///     mutils::_univ_mat img;
///     f = std::fopen("scan.pgm", "rb");
///     const char* err = mutils::imguniv_read_pgm(f, nullptr, &img);   // u8 or u16 by maxval
///     std::fclose(f);
#pragma once

#include <cstdio>

#include "../core/errors.h"

namespace mutils {

/// @{
/// `write_to_bits`, `read_from_bits`, `write_pbm`, `write_pgm`, `read_pgm`, `write_ppm`, `read_ppm` for each
/// element type declared here; the contract, element types and messages are in the file description.
MUTILS_API const char* imguniv_write_to_bits(FILE* stream, const _univ_mat* image, double threshold,
                                             unsigned char packed, const char* separator, uint16_t line_width,
                                             void* intrp_ptr);
MUTILS_API const char* imguniv_read_from_bits(FILE* stream, _univ_scalar value, unsigned char packed, int32_t offset,
                                              char separator, char comment, void* intrp_ptr, _univ_mat* result);
MUTILS_API const char* imguniv_write_pbm(FILE* stream, const _univ_mat* image, double threshold, unsigned char text,
                                         void* intrp_ptr);
MUTILS_API const char* imguniv_write_pgm(FILE* stream, const _univ_mat* image, unsigned char text, void* intrp_ptr);
MUTILS_API const char* imguniv_read_pgm(FILE* stream, void* intrp_ptr, _univ_mat* result);
MUTILS_API const char* imgset_write_ppm(FILE* stream, const _mat_set* pixmap, unsigned char text, void* intrp_ptr);
MUTILS_API const char* imgset_read_ppm(FILE* stream, void* intrp_ptr, _mat_set* result);
/// @}

}  // namespace mutils

/// @{
/// `write_pbm`, `write_pgm`, `read_pgm`, `write_ppm`, `read_ppm` for each element type declared here; the contract,
/// element types and messages are in the file description.
MUTILS_API mutils::_mutil_errcode imguniv_write_pbm(FILE* stream, const mutils::_univ_mat* image, double threshold,
                                                    unsigned char text, void* intrp_ptr);
MUTILS_API mutils::_mutil_errcode imguniv_write_pgm(FILE* stream, const mutils::_univ_mat* image, unsigned char text,
                                                    void* intrp_ptr);
MUTILS_API mutils::_mutil_errcode imguniv_read_pgm(FILE* stream, void* intrp_ptr, mutils::_univ_mat* result);
MUTILS_API mutils::_mutil_errcode imgset_write_ppm(FILE* stream, const mutils::_mat_set* pixmap, unsigned char text,
                                                   void* intrp_ptr);
MUTILS_API mutils::_mutil_errcode imgset_read_ppm(FILE* stream, void* intrp_ptr, mutils::_mat_set* result);
/// @}
