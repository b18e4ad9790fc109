// mutils: numerical support functions on dense matrices of eight element types.
//
// This umbrella header declares the whole public interface: the records and enumerations, every
// operation of namespace mutils, the plain entry points that return `_mutil_errcode`, and the
// default host (namespace Hux). Subsystem headers may also be included on their own.
//
//     #include <mutils.h>
//
//     Hux::ArenaScope scope;                       // all storage of this block lives here
//     mutils::_univ_mat a, r;
//     mutils::matuniv_malloc(&a, 2, 2, mutils::MUTIL_UINT8);
//     mutils::matuniv_malloc(&r, 2, 2, mutils::MUTIL_DOUBLE);
//     ...
//     const char* err = mutils::matuniv_add(&a, &a, nullptr, &r);   // null on success
#pragma once

// Core runtime
#include "types.h"
#include "errors.h"
#include "host.h"
#include "storage.h"

// Matrix operations
#include "../mat/cast.h"
#include "../mat/arith.h"

// Image processing
#include "../img/distance.h"
#include "../img/graymap.h"
#include "../img/imagefile.h"
#include "../img/tiff.h"

// Signal processing

// Wavelets

// Boundary chains and polygons
#include "../pgn/hull.h"

// Quantizers
#include "../cls/quantize.h"

// Optical flow
