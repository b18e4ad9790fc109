"""What the Python function of each member needs beyond its C++ signature: one entry per member.

The parameter names, their order and types come from the headers (`_signatures.py`, generated).
An entry here gives, by C++ name:

- a result rule for each result matrix, by the result's C++ parameter name:
  "like image"           image's shape, the element type the caller chooses (`dtype=`, default
                         the image's);
  "<shape> : <dtype>"    Python expressions over the arguments, e.g. "(a.shape[0], b.shape[1]) : dtype";
  None                   the operation allocates the result itself (readers, sample).
  A result matrix without a rule is "like <first array argument>"; a typed result (u32 counts,
  s32 indices) always has its own type;
- defaults of parameters (`sigma=1.0`; an enumeration by name, `boundary="zero"`); a default
  given as Expr("...") is computed from the other arguments when the caller passes None;
- Python-only parameters that size a result the C++ caller would allocate (`n=REQUIRED` for a
  window's length, `nrow`, `ncol`);
- `dtype="..."`: the default of the `dtype=` keyword, as an expression (default: the first
  array argument's dtype);
- `scalar="..."`: the element type of universal scalar arguments given as plain Python numbers
  (default: the first array argument's type);
- `columns=(...)`: 1-D arguments taken as columns (N x 1) rather than rows;
- `per_plane=(...)`: set members' per-matrix s32 vectors, given as one number for all planes;
- `zero=True`: results start zeroed (operations that leave parts of a result as they are);
- `flat=True`: a 1-D first argument gives a 1-D result (with `columns`: a signal as a column).

Adding a member to the library adds its function; an entry is needed only where the defaults
above do not fit.
"""

FILES_MODULE = "io"


class _Required:
    def __repr__(self):
        return "REQUIRED"


REQUIRED = _Required()


class Expr(str):
    """A default computed in the function from its other arguments."""


BINARY = dict(fg=1, bg=0)          # binary images: foreground 1, background 0
# Signal filters centred on each sample (their origins count from 1).
CENTRED = dict(rorig=Expr("_rows(filter) // 2 + 1"), corig=Expr("_cols(filter) // 2 + 1"))
MASK = dict(dtype="'uint8'", scalar="_code(result.dtype)")

TABLE = {
    # ---- mat: arithmetic, structure, statistics, order, linear algebra -------------------------
    "matuniv_assign_scalar": dict(r="(nrow, ncol) : dtype", nrow=REQUIRED, ncol=REQUIRED, dtype="'float64'",
                                  scalar="_code(r.dtype)"),
    "matuniv_assign_submat": dict(zero=True, r="(nrow, ncol) : dtype", nrow=REQUIRED, ncol=REQUIRED, first_row=0, first_col=0),
    "matuniv_assign_zeropad": dict(r="(nrow, ncol) : dtype", nrow=REQUIRED, ncol=REQUIRED),
    "matuniv_extract": dict(r="(nrow, ncol) : dtype", nrow=REQUIRED, ncol=REQUIRED, first_row=0, first_col=0),
    "matuniv_transpose": dict(r="(_cols(a), _rows(a)) : dtype"),
    "matuniv_translate": dict(row_shift=0, col_shift=0, fill=0, scalar="_code(r.dtype)"),
    "matuniv_tile": dict(r="((_rows(a) // tile_rows) * (_cols(a) // tile_cols), tile_rows * tile_cols) : dtype"),
    "matuniv_untile": dict(zero=True, r="(nrow, ncol) : dtype", nrow=REQUIRED, ncol=REQUIRED),
    "matset_tile": dict(r="(s.shape[1], s.shape[0] * s.shape[2]) : dtype"),
    "matset_untile": dict(s="(planes, _rows(a), _cols(a) // planes) : dtype", planes=REQUIRED),
    "matset_interpolate": dict(s="(fractions.size,) + a.shape[-2:] : dtype", dtype="'float64'"),
    "matuniv_cast": dict(clip=0, dtype=None),
    "matuniv_add_scalar": dict(scalar="_code(r.dtype)"),
    "matuniv_multiply_scalar": dict(scalar="_code(r.dtype)"),
    "matuniv_rescale": dict(lo=0, hi=1, scalar="_code(r.dtype)"),
    "matuniv_bit_and_scalar": dict(scalar="_code(r.dtype)"),
    "matuniv_bit_or_scalar": dict(scalar="_code(r.dtype)"),
    "matuniv_bit_xor_scalar": dict(scalar="_code(r.dtype)"),
    "matuniv_bit_shift_left": dict(count=1),
    "matuniv_bit_shift_right": dict(count=1),
    "matuniv_bit_compact_fixed_length_code": dict(
        r="(_compact_size(a, nbits, ncodes, expand, count),) : dtype", ncodes=0, expand=0, count=None,
        dtype="'uint8' if not expand else 'uint32'"),
    "matuniv_threshold": dict(outside=0, inside=1, scalar="_code(r.dtype)"),
    "matuniv_histogram": dict(counts="(bins, 1) : 'uint32'", bins=REQUIRED, include_lower=1),
    "matuniv_table_lookup": dict(r="a.shape : table.dtype"),
    "matuniv_multiply": dict(p="(_rows(a), _cols(b)) : dtype", dtype="np.result_type(a.dtype, b.dtype, np.float32)"),
    "matuniv_lu_decomposition": dict(index="(_rows(a), 1) : 'int32'", lu="a.shape : 'float64'"),
    "matuniv_lu_solve": dict(x="b.shape : 'float64'"),
    "matdbl_non_negative_least_squares": dict(x="(_cols(a), 1) : 'float64'"),
    "matuniv_inverse": dict(r="a.shape : 'float64'"),
    "matset_principal_components_analysis": dict(out="in_.shape : 'float64'"),
    "matuniv_sort_index_partial": dict(index="a.shape : 'int32'", positions=None),
    "matuniv_permute": dict(r="np.shape(index) : a.dtype"),
    "matuniv_unique": dict(first_appearance=0),
    "matuniv_quantiles": dict(zero=True, r="np.shape(probabilities) : 'float64'"),
    "matuniv_sum_rows": dict(r="(_rows(a), 1) : dtype"),
    "matuniv_sum_cols": dict(r="(1, _cols(a)) : dtype"),
    "matuniv_range_robust": dict(lower=-float("inf"), upper=float("inf")),
    "matuniv_number_equal_scalar": dict(),
    # ---- img ------------------------------------------------------------------------------------
    "imguniv_binary_erode": dict(orow=Expr("_rows(se) // 2"), ocol=Expr("_cols(se) // 2"), **BINARY),
    "imguniv_binary_dilate": dict(orow=Expr("_rows(se) // 2"), ocol=Expr("_cols(se) // 2"), **BINARY),
    "imguniv_binary_open": dict(**BINARY),
    "imguniv_binary_close": dict(**BINARY),
    "imguniv_binary_thin": dict(**BINARY),
    "imguniv_binary_skeleton": dict(**BINARY),
    "imguniv_grayscale_erode": dict(orow=Expr("_rows(se) // 2"), ocol=Expr("_cols(se) // 2"), border="continue"),
    "imguniv_grayscale_dilate": dict(orow=Expr("_rows(se) // 2"), ocol=Expr("_cols(se) // 2"), border="continue"),
    "imguniv_grayscale_open": dict(border="continue"),
    "imguniv_grayscale_close": dict(border="continue"),
    "imguniv_generate_disk": dict(result="(nrow, ncol) : dtype", nrow=REQUIRED, ncol=REQUIRED, **BINARY, **MASK),
    "imguniv_generate_rectangle": dict(result="(nrow, ncol) : dtype", nrow=REQUIRED, ncol=REQUIRED, **BINARY, **MASK),
    "imguniv_connected_components": dict(labels="image.shape : 'uint32'", connectivity="eight", value=1, min_size=0),
    "imgset_connected_components_3d": dict(labels="images.shape : 'uint32'", connectivity="eight", value=1,
                                           min_size=0),
    "imguniv_transform_distance": dict(result="image.shape : 'float64'", metric="euclidean", value=1),
    "imguniv_convex_hull": dict(value=1, zero=True),
    "imguniv_convolve": dict(boundary="zero"),
    "imguniv_correlate": dict(boundary="zero"),
    "imguniv_filter_derivative_of_gaussian": dict(vertical="image.shape : 'float64'",
                                                  horizontal="image.shape : 'float64'", sigma=1.0),
    "imguniv_gradient_sobel": dict(vertical="image.shape : dtype", horizontal="image.shape : dtype",
                                   dtype="'float64'"),
    "imguniv_edge_nonmaxima_suppress": dict(result="vertical.shape : 'float64'"),
    "imguniv_threshold_hysteresis": dict(result="image.shape : dtype", **BINARY, **MASK),
    "imguniv_edge_canny": dict(result="image.shape : dtype", sigma=1.0, low=0.1, high=0.2, **BINARY, **MASK),
    "imguniv_edge_sobel": dict(result="image.shape : dtype", **BINARY, **MASK),
    "imguniv_map_window_level": dict(result="image.shape : 'uint8'"),
    "imguniv_filter_local_mean": dict(win_rows=3, win_cols=3, boundary="continue"),
    "imguniv_filter_local_variance": dict(result="image.shape : 'float64'", win_rows=3, win_cols=3,
                                          boundary="continue"),
    "imguniv_filter_wiener": dict(win_rows=3, win_cols=3, noise=-1.0, boundary="continue"),
    "imguniv_filter_quantile": dict(win_rows=3, win_cols=3, quantile=0.5, boundary="continue"),
    "imgset_color_to_grayscale": dict(gray="rgb.shape[1:] : dtype"),
    "imgset_color_from_palette": dict(planes="(_cols(palette),) + index.shape : dtype", dtype="palette.dtype"),
    "imgset_color_to_palette": dict(index="planes.shape[1:] : dtype", dtype="'uint8'"),
    "imgset_color_convert": dict(out="in_.shape : dtype"),
    "imguniv_rotate": dict(interp="bilinear", fill=0.0),
    "imguniv_scale": dict(result="(nrow, ncol) : dtype", nrow=REQUIRED, ncol=REQUIRED, interp="bilinear"),
    "imguniv_warp_parameter": dict(interp="bilinear", fill=0.0),
    "imguniv_warp_tiepoint": dict(degree=1, interp="bilinear", fill=0.0),
    "imgdbl_warp_tiepoint_fit": dict(coefficients="(2, (degree + 1) * (degree + 2) // 2) : 'float64'", degree=1),
    "imgset_rotate": dict(interp="bilinear", fill=0.0),
    "imgset_scale": dict(result="(image.shape[0], nrow, ncol) : dtype", nrow=REQUIRED, ncol=REQUIRED,
                         interp="bilinear"),
    "imgset_warp_parameter": dict(interp="bilinear", fill=0.0),
    "imgset_warp_tiepoint": dict(degree=1, interp="bilinear", fill=0.0),
    "imguniv_threshold_auto": dict(bins=256, criterion="between_class"),
    "imguniv_map_discrete_uniform": dict(count=2),
    "imguniv_histogram_equalize": dict(levels=256),
    "imguniv_moments": dict(result="(order + 1, order + 1) : 'float64'", order=3, type="raw"),
    "imguniv_moment_invariant": dict(result="(7, 1) : 'float64'"),
    "imguniv_shape_features": dict(features="(max(int(np.max(np.abs(labels))), 1), 18) : 'float64'"),
    "imguniv_region_grow_klm": dict(labels="image.shape : 'uint32'", approximation="image.shape : 'float64'",
                                    grid_rows=1, grid_cols=1, scale=float("inf"), min_regions=1),
    "imgset_region_grow_klm": dict(labels="bands.shape[1:] : 'uint32'", approximation="bands.shape : 'float64'",
                                   grid_rows=1, grid_cols=1, scale=float("inf"), min_regions=1),
    "imguniv_region_grow_seeded": dict(labels="image.shape : 'uint32'", tolerance=0.0, connectivity="eight"),
    # ---- io (files are paths) ------------------------------------------------------------------
    "matuniv_print": dict(format=None, line_width=0),
    "matuniv_parse": dict(m=None),
    "matuniv_read_ascii": dict(m="(nrow, ncol) : dtype", nrow=REQUIRED, ncol=REQUIRED, dtype="'float64'",
                               separator=" ", comment="#"),
    "matuniv_write_ascii": dict(separator=" ", line_width=0),
    "matuniv_read_raw": dict(m="(nrow, ncol) : dtype", nrow=REQUIRED, ncol=REQUIRED, dtype="'float64'",
                             offset=0, swap=0),
    "matuniv_write_raw": dict(swap=0),
    "imguniv_read_pgm": dict(result=None),
    "imgset_read_ppm": dict(result=None),
    "imgset_read_tiff": dict(result=None),
    "imguniv_write_pgm": dict(text=0),
    "imguniv_write_pbm": dict(threshold=0.5, text=0),
    "imgset_write_ppm": dict(text=0),
    "imguniv_write_to_bits": dict(threshold=0.5, packed=0, separator=" ", line_width=0),
    "imguniv_read_from_bits": dict(result="(nrow, ncol) : dtype", nrow=REQUIRED, ncol=REQUIRED, value=1, packed=0,
                                   offset=0, separator=" ", comment="#", dtype="'uint8'",
                                   scalar="_code(result.dtype)"),
    # ---- sig ------------------------------------------------------------------------------------
    "siguniv_transform_discrete_fourier": dict(out="in_.shape : 'complex128'", inverse=0, columns=("in_",),
                                               flat=True),
    "siguniv_transform_discrete_cosine_II": dict(out="in_.shape : 'float64'"),
    "siguniv_transform_discrete_cosine_II_inverse": dict(out="in_.shape : 'float64'"),
    "siguniv_transform_discrete_cosine_II_2d": dict(out="in_.shape : 'float64'", inverse=0),
    "siguniv_transform_discrete_cosine_II_pow2": dict(out="in_.shape : 'float64'"),
    "siguniv_transform_discrete_cosine_II_inverse_pow2": dict(out="in_.shape : 'float64'"),
    "siguniv_transform_discrete_cosine_II_2d_pow2": dict(out="in_.shape : 'float64'", inverse=0),
    "siguniv_transform_hartley": dict(out="in_.shape : 'float64'"),
    "siguniv_convolve": dict(result="_stepped(data, rstep, cstep) : dtype", rstep=1, cstep=1, **CENTRED,
                             boundary="zero"),
    "siguniv_correlate": dict(result="_stepped(data, rstep, cstep) : dtype", rstep=1, cstep=1, **CENTRED,
                              boundary="zero"),
    "sigset_convolve": dict(result="(data.shape[0],) + _stepped(data[0], rstep[0], cstep[0]) : dtype", rstep=1,
                            cstep=1, **CENTRED, boundary="zero",
                            per_plane=("rstep", "cstep", "rorig", "corig")),
    "sigset_correlate": dict(result="(data.shape[0],) + _stepped(data[0], rstep[0], cstep[0]) : dtype", rstep=1,
                             cstep=1, **CENTRED, boundary="zero",
                             per_plane=("rstep", "cstep", "rorig", "corig")),
    "siguniv_sample": dict(result=None, rfactor=1, cfactor=1, rmode=0, cmode=0),
    "siguniv_kernel_choi_williams": dict(kernel=None, type="float64", sigma=1.0),
    "siguniv_timefreq_autocorrelate_wigner": dict(r="(nlag, x.size) : 'float64'", nlag=Expr("x.size"), step=1),
    "siguniv_timefreq_autocorrelate_born_jordan": dict(r="(nlag, x.size) : 'float64'", nlag=Expr("x.size"), step=1),
    "siguniv_timefreq_autocorrelate_cone": dict(r="(nlag, x.size) : 'float64'", nlag=Expr("x.size"), step=1),
    "siguniv_timefreq_autocorrelate_margeneau_hill": dict(r="(nlag, x.size) : 'float64'", nlag=Expr("x.size"),
                                                           step=1),
    "siguniv_timefreq_autocorrelate_choi_williams": dict(r="(nlag, x.size) : 'float64'", nlag=Expr("x.size"),
                                                          sigma=1.0, step=1),
    "siguniv_timefreq_autocorrelate_custom": dict(r="(_cols(kernel), x.size) : 'float64'", step=1),
    **{"siguniv_window_" + w: dict(result="(n,) : dtype", n=REQUIRED, dtype="'float64'")
       for w in ("rectangle", "triangle", "hanning", "hamming", "blackman", "nuttall", "born_jordan")},
    "siguniv_window_raised_cosine": dict(result="(n,) : dtype", n=REQUIRED, dtype="'float64'", ratio=0.5),
    "siguniv_window_gaussian": dict(result="(n,) : dtype", n=REQUIRED, dtype="'float64'", alpha=2.5),
    "siguniv_window_kaiser": dict(result="(n,) : dtype", n=REQUIRED, dtype="'float64'", beta=8.6),
    "siguniv_window_chebyshev": dict(result="(n,) : dtype", n=REQUIRED, dtype="'float64'", attenuation_db=100.0),
    # ---- wav, pgn, cls, vid ---------------------------------------------------------------------
    "wavuniv_transform_maximum_overlap": dict(W="(x.size, J) : 'float64'", V="(x.size, J) : 'float64'",
                                              columns=("x", "h", "g")),
    "wavuniv_transform_maximum_overlap_packet": dict(P="(x.size, 2 ** (J + 1) - 1) : 'float64'",
                                                     columns=("x", "h", "g")),
    "wavuniv_transform_maximum_overlap_inverse": dict(y="Z.shape : 'float64'", columns=("h", "g")),
    "pgns32_convex_hull": dict(hull=None),
    "pgnuniv_boundary_chain_to_polygon": dict(polygon="(len(chain[2]) + 1, 2) : dtype", dtype="'float64'"),
    "pgndbl_convex_hull": dict(hull=None),
    "pgndbl_point_correspondence": dict(index="(_rows(a), 1) : 'int32'", distance="(_rows(a), 1) : 'float64'"),
    "pgndbl_shape_features": dict(features="(16, 1) : 'float64'"),
    "pgndbl_point_in_polygon": dict(result="(_rows(points), 1) : 'uint8'"),
    "pgndbl_resample": dict(result="(n, 2) : 'float64'", n=REQUIRED, closed=1),
    "pgndbl_smooth": dict(sigma=1.0, closed=1),
    "pgndbl_simplify": dict(result=None, tolerance=1.0, closed=1),
    "pgnuniv_render_region": dict(image="(nrow, ncol) : dtype", nrow=REQUIRED, ncol=REQUIRED, value=1, zero=True,
                                  dtype="'uint8'", scalar="_code(image.dtype)"),
    "pgnuniv_render_lines": dict(image="(nrow, ncol) : dtype", nrow=REQUIRED, ncol=REQUIRED, value=1, closed=0,
                                 zero=True, dtype="'uint8'", scalar="_code(image.dtype)"),
    "imguniv_active_contour": dict(result="snake.shape : 'float64'", alpha=0.01, beta=0.1, gamma=0.01, max_move=1.0,
                                   max_iterations=2500, convergence=0.1, boundary="periodic"),
    "imguniv_active_contour_greedy": dict(result="snake.shape : 'float64'", alpha=1.0, beta=1.0, gamma=1.2,
                                          neighbourhood=5, curvature_threshold=0.25, potential_threshold=0.0,
                                          max_iterations=200, moved_fraction=0.02, closed=1),
    "imguniv_minimal_path_cost": dict(distance="cost.shape : 'float64'"),
    "imguniv_minimal_path": dict(path=None),
    "clsuniv_scalar_quantize_linear": dict(result="(data.size, 1) : 'uint32'", columns=("codebook",)),
    "clsuniv_scalar_quantize_angle": dict(result="(data.size, 1) : 'uint32'", columns=("codebook",)),
    "vidset_optical_flow_horn_schunck": dict(u="frames.shape[1:] : dtype", v="frames.shape[1:] : dtype",
                                             dtype="'float64'", gradient="two_frame", max_iterations=100,
                                             tolerance=1e-3, alpha=1.0),
}
