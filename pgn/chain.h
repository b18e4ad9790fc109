/// @file
/// Boundary chains: the run-length chain code of the outer boundary of a region of equal pixels,
/// its storage, the Moore-neighbour tracer that fills it from a seed pixel, and its conversion to
/// polygon vertices.
///
/// Direction codes, as (row step, column step) with rows counted downward; increasing codes turn
/// clockwise on the screen and code 5 is "right":
///
/// | code | 0       | 1      | 2        | 3      | 4       | 5     | 6       | 7     |
/// |------|---------|--------|----------|--------|---------|-------|---------|-------|
/// | step | (+1,-1) | (0,-1) | (-1,-1)  | (-1,0) | (-1,+1) | (0,+1)| (+1,+1) | (+1,0)|
///
/// A chain is `nrun` runs; run i is `run_length[i]` consecutive moves in direction
/// `direction[i]`, starting from (`start_row`, `start_col`). Storage comes from the calling
/// thread's arena and is never released: "free" only clears the record.
///
/// Storage operations (all return "null pointer" for a null chain, except free, which then
/// succeeds and touches nothing):
///
/// | operation           | n = 0                   | n < 0                | n > 0                          |
/// |---------------------|-------------------------|----------------------|--------------------------------|
/// | `pgn_chain_malloc`  | empty record (nrun 0,   | "Illegal data value" | n runs, contents undefined     |
/// |                     | null arrays)            |                      |                                |
/// | `pgn_chain_realloc` | nothing changes (never  | "Illegal data value" | keeps the leading runs; an     |
/// |                     | shrinks to empty)       |                      | empty chain is malloc'ed       |
/// | `pgn_chain_free`    | —                       | —                    | nrun = 0, arrays null          |
///
/// A size above 2^29 - 1 runs (whose byte count would not fit 32 bits) is "Illegal data value".
///
/// Tracing (`pgn<t>_boundary_chain_from_region`, t = u8, u16, s32, dbl; the universal member sends
/// u8, u16, u32 and s32 (same bits) and double images to them and answers any other type with
/// "Illegal data type", a null image with "null pointer"). The region is the 8-connected set of
/// pixels equal (exactly, by ==) to the seed pixel.
/// A NaN equals nothing, not even itself: a NaN seed's region is the seed pixel alone (an empty
/// chain), and NaN pixels never join another region.
///  1. Null chain: "null pointer"; the image is validated (raising); a seed outside the image:
///     "Illegal data value".
///  2. The start is the leftmost pixel of the seed's run of equal pixels along its row.
///  3. A start with no equal neighbour gives the empty chain (nrun 0, null arrays).
///  4. Otherwise the boundary is followed clockwise: from a pixel reached in direction d, the
///     neighbours are tried from code (2 floor(d/2) + 7) mod 8 upwards (wrapping), starting with
///     d = 6 at the start pixel; the first equal neighbour inside the image is the next pixel.
///     Consecutive moves in one direction merge into one run; the run arrays grow by 1000 runs.
///  5. The trace stops at the start pixel when the next direction equals the first run's
///     direction: the chain is then the closed boundary from the start.
///  6. That rule never fires for some regions, whose trace falls into a cycle that does not leave
///     the start in the first run's direction (five pixels in a plus shape, seeded on the middle
///     row: left arm, centre, top, then round the diamond top, right, bottom, left for ever).
///     Each move is determined by its pixel and direction, so the tracer also stops when it is
///     about to leave a pixel in a direction in which it has left that pixel before: the trace
///     has entered a cycle. (Rule 5 is the case where the repeated move is the first one, so
///     wherever rule 5 stops, this rule changes nothing.) The chain returned is that closed
///     cycle, recorded from the start pixel when the cycle passes through it (from the cycle's
///     first visit there), otherwise from the pixel where the cycle begins, with `start_row` and
///     `start_col` set to it. Each (pixel, direction) is left at most once, so the trace takes
///     at most 8 moves per region pixel and time linear in the region's size.
///  7. The interrupt is polled once after the trace (work 50 per move): "interrupted", with the
///     chain still at its capacity. Otherwise `nrun` is trimmed to the number of runs.
///
/// The returned chain is always closed: its moves lead back to (`start_row`, `start_col`).
///
/// Polygon (`pgndbl_boundary_chain_to_polygon`, `pgnuniv_boundary_chain_to_polygon`): the
/// vertices of the chain as an (nrun + 1) x 2 double matrix of (row, column) pairs: the start
/// pixel, then the pixel at the end of each run, so a closed chain ends where it began and an
/// empty chain gives the single start pixel. Messages, in order: null chain "null pointer"; the
/// result record is validated (raising); univ result not double "Illegal data type"; nrun < 0
/// "Illegal data value"; runs present but an array null "null pointer"; result not
/// (nrun + 1) x 2 "array size mismatch"; a direction above 7 or a run length below 1
/// "Illegal data value".
///
///     mutils::_pgn_chain chain{};
///     if (const char* err = mutils::pgnu8_boundary_chain_from_region(&img, r, c, nullptr, &chain)) { ... }
///     mutils::_double_mat poly;
///     mutils::matdbl_malloc(&poly, chain.nrun + 1, 2);
///     mutils::pgndbl_boundary_chain_to_polygon(&chain, nullptr, &poly);
#pragma once

#include "../core/errors.h"

namespace mutils {

/// The run-length boundary chain (while a trace is running, `nrun` is the arrays' capacity).
struct _pgn_chain {
    int32_t start_row;         ///< row of the first pixel
    int32_t start_col;         ///< column of the first pixel
    int32_t nrun;              ///< number of runs
    int32_t* run_length;       ///< length of each run
    unsigned char* direction;  ///< direction of each run
};

/// @{
/// `pgn_chain_malloc`, `pgn_chain_realloc`, `pgn_chain_free` for each element type declared here; the contract,
/// element types and messages are in the file description.
MUTILS_API const char* pgn_chain_malloc(_pgn_chain* chain, int32_t n);
MUTILS_API const char* pgn_chain_realloc(_pgn_chain* chain, int32_t n);
MUTILS_API const char* pgn_chain_free(_pgn_chain* chain);
/// @}

/// @{
/// `boundary_chain_from_region` for each element type declared here; the contract, element types and messages are
/// in the file description.
MUTILS_API const char* pgnu8_boundary_chain_from_region(const _uint8_mat* image, int32_t row, int32_t col,
                                                        void* intrp_ptr, _pgn_chain* chain);
MUTILS_API const char* pgnu16_boundary_chain_from_region(const _uint16_mat* image, int32_t row, int32_t col,
                                                         void* intrp_ptr, _pgn_chain* chain);
MUTILS_API const char* pgns32_boundary_chain_from_region(const _sint32_mat* image, int32_t row, int32_t col,
                                                         void* intrp_ptr, _pgn_chain* chain);
MUTILS_API const char* pgndbl_boundary_chain_from_region(const _double_mat* image, int32_t row, int32_t col,
                                                         void* intrp_ptr, _pgn_chain* chain);
MUTILS_API const char* pgnuniv_boundary_chain_from_region(const _univ_mat* image, int32_t row, int32_t col,
                                                          void* intrp_ptr, _pgn_chain* chain);
/// @}

/// @{
/// `boundary_chain_to_polygon` for each element type declared here; the contract, element types and messages are in
/// the file description.
MUTILS_API const char* pgndbl_boundary_chain_to_polygon(const _pgn_chain* chain, void* intrp_ptr, _double_mat* polygon);
MUTILS_API const char* pgnuniv_boundary_chain_to_polygon(const _pgn_chain* chain, void* intrp_ptr, _univ_mat* polygon);
/// @}

}  // namespace mutils
