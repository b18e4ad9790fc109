#!/usr/bin/env bash
# Regenerates the tiny image files the program's tests read, as other programs write them:
# Pillow (Debian's python3-pil, run by /usr/bin/python3) for the PNG, JPEG and PBM files, netpbm
# for an interlaced PNG. The files are committed, so the tests need neither.
#
# photo.*: a 24 x 16 "scene" (a lit disk and a bar over a gradient, with seeded noise), the
# same picture in every layout. mask.png: that scene cut at 128 into a 0/255 mask; the script
# prints its counts of 0 and 255 pixels, which the histogram test expects.
set -euo pipefail
cd "$(dirname "$0")"
/usr/bin/python3 - <<'PY'
import math, random
from PIL import Image
random.seed(27)
W, H = 24, 16
def scene(x, y):
    v = 40 + 5 * x
    if math.hypot(x - 7, y - 7) < 5: v = 210
    if 14 <= x <= 21 and 3 <= y <= 12: v = 150 + 3 * y
    return max(0, min(255, v + random.randint(-12, 12)))
grey = [scene(x, y) for y in range(H) for x in range(W)]
g = Image.new("L", (W, H)); g.putdata(grey)
g.save("photo-grey.png")
g.save("photo-grey.jpg", quality=95)
rgb = Image.merge("RGB", (g, g.point(lambda v: min(255, v + 30)), g.point(lambda v: v * 4 // 5)))
rgb.save("photo-rgb.png")
rgb.save("photo-rgb.jpg", quality=90)
rgb.save("photo-rgb-progressive.jpg", quality=90, progressive=True)
alpha = Image.new("L", (W, H)); alpha.putdata([(x * 11) % 256 for y in range(H) for x in range(W)])
rgba = rgb.copy(); rgba.putalpha(alpha); rgba.save("photo-rgba.png")
Image.merge("LA", (g, alpha)).save("photo-grey-alpha.png")
rgb.quantize(16).save("photo-palette.png")
g16 = Image.new("I", (W, H)); g16.putdata([v * 257 + (i % 7) for i, v in enumerate(grey)])
g16.convert("I;16").save("photo-grey16.png")
mask = g.point(lambda v: 255 if v >= 128 else 0)
mask.save("mask.png")
mask.convert("1").save("mask-1bit.png")
# A standard raw bitmap of odd width (rows padded to whole bytes), as Pillow writes it.
Image.frombytes("1", (9, 3), bytes([0b10100000, 0b10000000, 0b01010000, 0b00000000, 0b11111111, 0b10000000])).save("pillow-9x3.pbm")
counts = [list(mask.getdata()).count(v) for v in (0, 255)]
print("mask.png: %d pixels of 0, %d of 255" % tuple(counts))
PY
# netpbm writes the Adam7-interlaced PNG (Pillow writes none).
pngtopnm photo-rgb.png 2>/dev/null | pnmtopng -interlace > photo-interlaced.png 2>/dev/null
