#!/usr/bin/env bash
# check_example.sh <build dir> <example source> <scratch dir> <c++ compiler> [simulator dir]
# Installs the build into a scratch prefix, builds examples/minimal_host against it as its own
# CMake project (warnings as errors), and runs it: once on the system's SDL2 and, when given the
# simulator's folder, once on the simulator, both without controllers.
set -euo pipefail
build="$1" example="$2" scratch="$3" cxx="$4" simulator="${5:-}"
prefix="$scratch/prefix"
rm -rf "$scratch"
mkdir -p "$scratch"

cmake --install "$build" --prefix "$prefix" >/dev/null
cmake -S "$example" -B "$scratch/example" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" \
  -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_CXX_FLAGS="-Wall -Wextra -Werror" >/dev/null
cmake --build "$scratch/example" >/dev/null

check_run() {
  local output="$1"
  grep -qx 'layouts: 1=MAPPING_PS 2=MAPPING_SWITCH_MOD1 3=MAPPING_SWITCH_MOD2 4=MAPPING_ANDROID 5=MAPPING_LOGIC 6=MAPPING_XBOX' \
    "$output" || { echo "unexpected output:"; cat "$output"; exit 1; }
  grep -q 'no controller sent data within 3 s' "$output" ||
    { echo "unexpected output:"; cat "$output"; exit 1; }
}

CPD_JOYSTICK_LOG="$scratch/host.log" "$scratch/example/minimal_host" >"$scratch/run.txt"
check_run "$scratch/run.txt"
if [ -n "$simulator" ]; then
  LD_LIBRARY_PATH="$simulator" CPD_JOYSTICK_LOG="$scratch/sim-host.log" \
    "$scratch/example/minimal_host" >"$scratch/sim-run.txt"
  check_run "$scratch/sim-run.txt"
  grep -q '"Debug:" "joystick process enter' "$scratch/sim-host.log"
fi
echo "examples/minimal_host builds against the installed package and runs"
