#!/usr/bin/env bash
# Installs what building, testing and benchmarking need on a fresh Debian 12 machine.
# Usage (as root): scripts/install-deps.sh [--bench | --docs | --fuzz | --peers]   Idempotent; quiet when everything is present.
set -euo pipefail
pkgs=(build-essential cmake libgtest-dev libgmock-dev libtiff-dev libcli11-dev netpbm libtiff-tools libpng-dev
      libjpeg62-turbo-dev)
# The Python package, its tests (references from scipy and scikit-image) and the Dask examples.
pkgs+=(python3-pybind11 pybind11-dev python3-numpy python3-pytest python3-dask python3-distributed
       python3-scipy python3-skimage)
if [ "${1:-}" = "--bench" ]; then
  pkgs+=(libbenchmark-dev libfftw3-dev libopencv-dev libopenblas-dev liblapacke-dev)
fi
if [ "${1:-}" = "--docs" ]; then
  pkgs+=(doxygen clang-format)
fi
# --peers: the Python peers of the differential tests, then regenerates tests/data/peers/.
if [ "${1:-}" = "--peers" ]; then
  pkgs+=(python3-numpy python3-scipy python3-skimage python3-opencv)
  pkgs+=(python3-shapely)  # the polygon simplification peer
fi
peers() { for s in "$(dirname "$0")"/../tests/peers/*.py; do /usr/bin/python3 "$s"; done; }
if [ "${1:-}" = "--fuzz" ]; then
  pkgs+=(clang libclang-rt-14-dev)
fi
missing=()
for p in "${pkgs[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -eq 0 ]; then
  if [ "${1:-}" = "--peers" ]; then peers; fi
  exit 0
fi
SUDO=""; [ "$(id -u)" -ne 0 ] && SUDO="sudo"
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq >/dev/null
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
if [ "${1:-}" = "--peers" ]; then peers; fi
