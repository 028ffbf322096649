#!/usr/bin/env bash
# check_monitor.sh <build dir> <scratch dir>
# Installs the build into a scratch prefix and runs the installed monitor on the simulator that
# was installed with it, with nothing pointing it back at the build tree.
set -euo pipefail
build="$1" scratch="$2"
prefix="$scratch/prefix"
rm -rf "$scratch"
mkdir -p "$scratch"

cmake --install "$build" --prefix "$prefix" >/dev/null
monitor="$prefix/bin/cpd-joystick-monitor"
test -x "$monitor"
test -f "$prefix/lib/cpd-joystick/libSDL2-2.0.so.0"
# Neither its run path nor its constant data may name the build tree (debug sections may).
tree="$(cd "$build" && pwd)"
if readelf -d "$monitor" | grep -F "$tree" || readelf -p .rodata "$monitor" | grep -F "$tree"; then
  echo "the installed monitor still names the build tree"
  exit 1
fi

# The monitor links the library's layout table, never a second copy of the library's state.
if nm -C --defined-only "$monitor" | grep -E "cpd::(JoystickManager|JoystickPolicy)|sd::SDConfig"; then
  echo "the monitor carries a copy of the library's manager, policy store or secure store"
  exit 1
fi

unset CPD_JOYSTICK_SIM_DIR LD_LIBRARY_PATH
(cd "$scratch" && "$monitor" --simulate --plug xbox --json --duration 2 </dev/null \
  >"$scratch/run.jsonl" 2>"$scratch/run.err") || {
  cat "$scratch/run.err"
  exit 1
}
grep -q '"type":"layouts"' "$scratch/run.jsonl"
grep -q '"count":1,"devices":\[{.*"vid":"045e"' "$scratch/run.jsonl" || {
  echo "no device list with the simulated Xbox pad:"
  head -5 "$scratch/run.jsonl"
  exit 1
}
grep -q '"type":"packet"' "$scratch/run.jsonl"
echo "the installed monitor runs on its installed simulator"
