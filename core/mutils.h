/// @file
/// mutils: numerical support functions on dense matrices of eight element types.
///
/// This umbrella header declares the whole public interface: the records and enumerations, every
/// operation of namespace mutils, the plain entry points that return `_mutil_errcode`, and the
/// default host (namespace Hux). Subsystem headers may also be included on their own.
///
///     #include <mutils.h>
///
///     Hux::ArenaScope scope;                       // all storage of this block lives here
///     mutils::_univ_mat a, r;
///     mutils::matuniv_malloc(&a, 2, 2, mutils::MUTIL_UINT8);
///     mutils::matuniv_malloc(&r, 2, 2, mutils::MUTIL_DOUBLE);
///     ...
///     const char* err = mutils::matuniv_add(&a, &a, nullptr, &r);   // null on success
#pragma once

// Core runtime
#include "types.h"
#include "errors.h"
#include "host.h"
#include "storage.h"
#include "random.h"
#include "bridge.h"

// Matrix operations
#include "../mat/cast.h"
#include "../mat/arith.h"
#include "../mat/scalar.h"
#include "../mat/rescale.h"
#include "../mat/assign.h"
#include "../mat/bits.h"
#include "../mat/linalg.h"
#include "../mat/textio.h"
#include "../mat/rawio.h"
#include "../mat/bitcode.h"
#include "../mat/structural.h"
#include "../mat/tile.h"
#include "../mat/stats.h"
#include "../mat/histogram.h"
#include "../mat/sort.h"

// Image processing
#include "../img/morphology.h"
#include "../img/components.h"
#include "../img/moments.h"
#include "../img/region.h"
#include "../img/filter.h"
#include "../img/color.h"
#include "../img/geometry.h"
#include "../img/edge.h"
#include "../img/distance.h"
#include "../img/graymap.h"
#include "../img/imagefile.h"
#include "../img/tiff.h"

// Signal processing
#include "../sig/transform.h"
#include "../sig/convolve.h"
#include "../sig/sample.h"
#include "../sig/window.h"
#include "../sig/timefreq.h"

// Wavelets
#include "../wav/modwt.h"

// Boundary chains and polygons
#include "../pgn/chain.h"
#include "../pgn/hull.h"
#include "../pgn/polygon.h"
#include "../pgn/curve.h"
#include "../pgn/render.h"

// Active contours and minimal paths
#include "../img/contour.h"

// Quantizers
#include "../cls/quantize.h"

// Optical flow
#include "../vid/flow.h"
