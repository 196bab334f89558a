#!/usr/bin/env bash
# Installs every Debian package that the build, the tests, the benchmarks and the fuzzers use.
# Idempotent: does nothing (and needs no network) when all of them are present.
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config
  clang libclang-rt-14-dev              # fuzzing (libFuzzer) and its sanitizer runtimes
  libgtest-dev libgmock-dev libbenchmark-dev
  libglm-dev                            # independent oracle of the math tests (test-only)
  libssl-dev                            # SHA-1 of FileHash (libcrypto)
  libimgui-dev libstb-dev               # Dear ImGui context slot of the plugin boundary
  libtinyxml2-dev rapidjson-dev        # XML and JSON documents
  libagg-dev                            # picture drawing (Anti-Grain Geometry)
  imagemagick                           # pictures made by another program for the codec tests
  libutfcpp-dev                         # UTF-8/UTF-16 conversions of the string helpers
  libdw-dev                             # callstacks: stack walk, symbols and source lines
  zlib1g-dev libminizip-dev             # zip archives and the embedded core archive
  sox libsox-fmt-all                    # real WAV peer of the decoder tests
  libsndfile1-dev                       # peer of the WAV decoding benchmark
  libtbb-dev                            # peer of the task system benchmark
  binutils zip unzip python3           # real archives for the zip tests and benchmarks
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

echo "install-deps: installing ${missing[*]}"
SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
