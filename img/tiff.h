/// @file
/// TIFF image files, read and written through libtiff. Paths are wide strings, converted to
/// UTF-8 for the file system. libtiff's warnings and errors are kept quiet (handlers installed
/// on each file, the process-wide handlers are left alone); every file opened is closed before
/// returning, whatever the outcome.
///
/// Writing (`imguniv_write_tiff(path, image, intrp_ptr)`): one uncompressed directory of one
/// sample per pixel, min-is-black, contiguous, a single strip. Element types: u8 (8 bits), u16
/// (16 bits), u32 (32 bits); any other type is "Illegal data type" and leaves no file behind.
/// Floating images are refused, so no NaN or infinity reaches a file; the readers make integer
/// images.
///
/// `imgset_write_tiff(path, set, intrp_ptr)` writes the matrices of a set as the samples of one
/// directory, each sample in its own plane (planar configuration 2): three matrices make an RGB
/// image, more than three RGB plus unspecified extra samples, one or two a min-is-black image
/// (plus an extra sample). All matrices must share one size ("array size mismatch") and one of
/// the three types ("Illegal data type").
///
/// Reading (`imgset_read_tiff(path, intrp_ptr, result)`): the first directory is read into a set
/// allocated by the call, one matrix of ImageLength rows and ImageWidth columns per sample (rows
/// in file order; the Orientation tag is not applied). Strips are read scan line by scan line,
/// tiled files tile by tile, with any compression libtiff decodes.
///
/// | photometric              | bits per sample    | sample format | result matrices                 |
/// |--------------------------|--------------------|---------------|---------------------------------|
/// | min-is-black/-white      | 1, 2, 4 (1 sample) | unsigned      | u8, scaled to 0..255: black 0,  |
/// |                          |                    |               | white 255 (bilevel 0 / 255)     |
/// | min-is-black/-white      | 8, 16, 32          | unsigned      | u8, u16, u32 per sample;        |
/// |                          |                    |               | min-is-white first sample       |
/// |                          |                    |               | inverted (max - v)              |
/// | min-is-black             | 16, 32             | signed        | s16, s32 per sample             |
/// | min-is-black             | 32, 64             | IEEE float    | float, double per sample        |
/// | RGB (3 or more samples)  | 8, 16, 32 / 32, 64 | as above      | one matrix per sample, planes   |
/// |                          |                    |               | contiguous or separate          |
/// | palette (1 sample)       | 1, 2, 4, 8         | unsigned      | three u8 planes red, green,     |
/// |                          |                    |               | blue from the colour map        |
///
/// Colour maps hold 16-bit intensities; they are brought to 8 bits by keeping the high byte,
/// except maps whose entries all lie below 256 (written by 8-bit tools), which are taken as they
/// stand. Other combinations (CMYK, YCbCr, LAB, signed 8-bit, ...) are "Illegal data value".
///
/// | condition                                                          | message              |
/// |--------------------------------------------------------------------|----------------------|
/// | null path, image, set or result                                    | "null pointer"       |
/// | file that cannot be opened, created or written; a missing          | "Input-output error" |
/// | required tag (photometric interpretation, image length or width,   |                      |
/// | a palette's colour map); a strip or tile that cannot be read; an    |                      |
/// | uncompressed image whose data would not fit in its file (truncated) |                      |
/// | unsupported layout (table above); zero width or height             | "Illegal data value" |
/// | an image of more than 2^31 - 1 pixels; compressed data that would   | "out of memory"      |
/// | expand more than 2048 times its file size; a failed buffer          |                      |
/// | allocation                                                          |                      |
/// | interruption                                                       | "interrupted"        |
///
/// BitsPerSample, SamplesPerPixel and PlanarConfiguration take their TIFF defaults (1, 1,
/// contiguous) when a file leaves them out. Tiled images are measured in whole tiles for the
/// two size checks, so a forged tile size is refused before a tile buffer is allocated.
///
///     mutils::_mat_set planes;
///     if (!mutils::imgset_read_tiff(L"scan.tif", nullptr, &planes)) { /* planes.nmat samples */ }
#pragma once

#include <cwchar>

#include "../core/errors.h"

namespace mutils {

/// @{
/// `write_tiff`, `read_tiff` for each element type declared here; the contract, element types and messages are in
/// the file description.
MUTILS_API const char* imguniv_write_tiff(const wchar_t* path, const _univ_mat* image, void* intrp_ptr);
MUTILS_API const char* imgset_write_tiff(const wchar_t* path, const _mat_set* set, void* intrp_ptr);
MUTILS_API const char* imgset_read_tiff(const wchar_t* path, void* intrp_ptr, _mat_set* result);
/// @}

}  // namespace mutils

/// @{
/// `write_tiff`, `read_tiff` for each element type declared here; the contract, element types and messages are in
/// the file description.
MUTILS_API mutils::_mutil_errcode imguniv_write_tiff(const wchar_t* path, const mutils::_univ_mat* image,
                                                     void* intrp_ptr);
MUTILS_API mutils::_mutil_errcode imgset_write_tiff(const wchar_t* path, const mutils::_mat_set* set, void* intrp_ptr);
MUTILS_API mutils::_mutil_errcode imgset_read_tiff(const wchar_t* path, void* intrp_ptr, mutils::_mat_set* result);
/// @}
