#!/usr/bin/env bash
# Regenerates the small seed corpora in fuzz/corpus/<harness>/: a handful of tiny valid and
# near-valid inputs per harness. The first bytes of most inputs are the harness's own
# parameters (see each fuzz_*.cpp). TIFF seeds are made with netpbm and libtiff's tools.
set -euo pipefail
cd "$(dirname "$0")"
rm -rf corpus
mkdir -p corpus/{fuzz_parse,fuzz_text,fuzz_raw,fuzz_bits,fuzz_tiff,fuzz_pnm,fuzz_cli_load,fuzz_cli_images}
seed() { printf "$2" > "corpus/$1/$3"; }

# Printed matrices; the first byte picks the member (0 universal, 1 double ... 7 sint32).
p=corpus/fuzz_parse
printf '\x00double Matrix: nrow=2, ncol=3  {\n    Row[0]:  1 2.5 -3 \n    Row[1]:  4 5 6 \n}\n' > $p/univ_double
printf '\x00uint8 Matrix: nrow=1, ncol=2  {\n    Row[0]:  0 255 \n}\n' > $p/univ_u8
printf '\x00sint16 Matrix: nrow=2, ncol=1  {\n    Row[0]:  -32768 \n    Row[1]:  32767 \n}\n' > $p/univ_s16
printf '\x01double Matrix: nrow=1, ncol=2  {\n    Row[0]:  1e300 nan \n}\n' > $p/double
printf '\x02float Matrix: nrow=1, ncol=1  {\n    Row[0]:  0.5 \n}\n' > $p/float
printf '\x03uint8 Matrix: nrow=1, ncol=3  {\n    Row[0]:  1 2 256 \n}\n' > $p/u8_out_of_range
printf '\x04uint16 Matrix: nrow=1, ncol=2  {\n    Row[0]:  65535 7 \n}\n' > $p/u16
printf '\x05uint32 Matrix: nrow=1, ncol=1  {\n    Row[0]:  4294967295 \n}\n' > $p/u32
printf '\x06sint16 Matrix: nrow=1, ncol=1  {\n    Row[0]:  -1 \n}\n' > $p/s16
printf '\x07sint32 Matrix: nrow=2, ncol=2  {\n    Row[0]:  -2147483648 0 \n    Row[1]:  1 2147483647 \n}\n' > $p/s32
printf '\x07sint32 Matrix: nrow=100000, ncol=100000  {\n    Row[0]:  1 \n' > $p/forged_size
printf '\x00uint8 Matrix: nrow=12, ncol=30  {\n    Row[ 0]:  1 2 3\n' > $p/truncated

# Plain text: rows%16+1, cols%16+1, separator, comment character, then the text.
t=corpus/fuzz_text
printf '\x01\x02,#1,2\n3,4\n5,6\n' > $t/commas
printf '\x00\x00 #  # comment\n 7.5\n' > $t/comment
printf '\x02\x02;%%1;2;%% x\n3;4;5;6;7;8;9\n' > $t/semicolons
printf '\x00\x03 #1e400 2 3\n' > $t/overflow

# Raw bytes: type%7, rows%32+1, cols%32+1, swap | offset<<1, then the bytes.
r=corpus/fuzz_raw
printf '\x00\x01\x03\x00\x01\x02\x03\x04' > $r/u8
printf '\x01\x00\x01\x01\x00\x01\x02\x03' > $r/u16_swapped
printf '\x05\x01\x00\x04XX\x00\x00\x80\x3f\x00\x00\x00\x40' > $r/float_offset
printf '\x06\x00\x00\x00\x00\x00\x00\x00\x00\x00\xf0\x3f' > $r/double
printf '\x04\x03\x03\x00\x01' > $r/short_body

# Bit streams: rows%32+1, cols%32+1, packed | (offset+8)<<1, separator, then the bits.
b=corpus/fuzz_bits
printf '\x01\x02\x10 1 0 1\n0 0 1\n' > $b/text
printf '\x01\x02\x10,1,0,#x\n1,0,0,1\n' > $b/text_comment
printf '\x07\x07\x11 \xaa\x55\xaa\x55\xaa\x55\xaa' > $b/packed
printf '\x00\x07\x15 \x00\x00\xff' > $b/packed_offset
printf '\x00\x00\x01 ' > $b/packed_negative_offset

# PBM / PGM / PPM files.
n=corpus/fuzz_pnm
printf 'P1\n3 2\n1 0 1\n0 1 0\n' > $n/p1
printf 'P2\n# comment\n2 2\n255\n0 10\n200 255\n' > $n/p2
printf 'P3\n1 1\n65535\n1 2 3\n' > $n/p3
printf 'P4\n9 2\n\xff\x80\x00\x00' > $n/p4
printf 'P5\n2 2\n255\n\x00\x7f\x80\xff' > $n/p5
printf 'P5\n2 1\n65535\n\x01\x00\xff\xff' > $n/p5_16bit
printf 'P6\n1 2\n255\n\x01\x02\x03\x04\x05\x06' > $n/p6
printf 'P5\n99999 99999\n255\n\x00' > $n/forged_size

# Tiny TIFFs in the shapes the reader knows.
f=corpus/fuzz_tiff
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
printf 'P5\n3 2\n255\n\x00\x40\x80\xc0\xff\x01' > $tmp/g8.pgm
printf 'P5\n2 2\n65535\n\x00\x01\x10\x00\xff\xff\x12\x34' > $tmp/g16.pgm
printf 'P6\n2 1\n255\n\x01\x02\x03\x04\x05\x06' > $tmp/rgb.ppm
printf 'P4\n9 2\n\xff\x80\x00\x00' > $tmp/bw.pbm
pnmtotiff $tmp/g8.pgm > $f/gray8.tif 2>/dev/null
pnmtotiff $tmp/g16.pgm > $f/gray16.tif 2>/dev/null
pnmtotiff -truecolor $tmp/rgb.ppm > $f/rgb8.tif 2>/dev/null
pnmtotiff $tmp/rgb.ppm > $f/palette.tif 2>/dev/null
pnmtotiff $tmp/bw.pbm > $f/bilevel.tif 2>/dev/null
tiffcp -c lzw $f/gray8.tif $f/gray8_lzw.tif
tiffcp -c packbits -t -w 16 -l 16 $f/rgb8.tif $f/rgb8_tiled.tif
tiffcp -p separate $f/rgb8.tif $f/rgb8_planar.tif
head -c 40 $f/gray8.tif > $f/truncated.tif

# The command-line loader: the first byte picks the file suffix (.pgm .ppm .tif .mat .txt).
c=corpus/fuzz_cli_load
{ printf '\x00'; cat $n/p5; } > $c/pgm
{ printf '\x01'; cat $n/p6; } > $c/ppm
{ printf '\x02'; cat $f/gray8.tif; } > $c/tif
{ printf '\x03'; tail -c +2 $p/univ_double; } > $c/mat
{ printf '\x04'; printf '1 2 3\n4 5 6\n'; } > $c/txt

# The program's PNG, JPEG and bitmap decoders: the first byte picks 0 PNG, 1 PNG with alpha,
# 2 JPEG, 3 PBM. Small files made by netpbm in the shapes the decoders take.
i=corpus/fuzz_cli_images
{ printf '\x00'; pnmtopng $tmp/g16.pgm 2>/dev/null; } > $i/png_grey16
{ printf '\x00'; pnmtopng -interlace $tmp/rgb.ppm 2>/dev/null; } > $i/png_interlaced
{ printf '\x01'; pnmtopng -alpha=$tmp/g8.pgm $tmp/g8.pgm 2>/dev/null; } > $i/png_grey_alpha
{ printf '\x02'; pnmtojpeg $tmp/rgb.ppm 2>/dev/null; } > $i/jpeg_rgb
{ printf '\x02'; pnmtojpeg -progressive $tmp/g8.pgm 2>/dev/null; } > $i/jpeg_progressive
printf '\x03P4\n9 3\n\xa0\x80\x50\x00\xff\x80' > $i/pbm_padded
{ printf '\x00'; pnmtopng $tmp/rgb.ppm 2>/dev/null; } > $c/png

# A one-pixel TIFF claiming one 65536 x 65536 tile (a forged tile size), deflate-compressed.
python3 - "$f/forged_tile.tif" <<'PY'
import struct, sys
entries = [(256, 4, 1), (257, 4, 1), (258, 3, 8), (259, 3, 8), (262, 3, 1), (277, 3, 1), (284, 3, 1),
           (322, 4, 65536), (323, 4, 65536), (324, 4, 146), (325, 4, 16)]
out = b"II*\0" + struct.pack("<IH", 8, len(entries))
for tag, typ, value in entries:
    out += struct.pack("<HHI", tag, typ, 1) + (struct.pack("<HH", value, 0) if typ == 3 else struct.pack("<I", value))
open(sys.argv[1], "wb").write(out + struct.pack("<I", 0) + b"x" * 16)
PY

# Plain text into integer matrices (type from the first byte's high bits: 0x20 u8, 0x40 s16, 0x60 s32).
printf '\x21\x01 #255 0\n' > $t/u8
printf '\x41\x01,#-32768,32767\n' > $t/s16_limits
printf '\x60\x00 #2147483648\n' > $t/s32_out_of_range
