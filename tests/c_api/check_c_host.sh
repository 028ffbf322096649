#!/usr/bin/env bash
# check_c_host.sh run <c host> <scratch dir> [<runner>...]
#   Runs a C host (with a simulated Xbox pad already plugged) and checks what it printed, its
#   log and the layout it stored. A runner (the Windows build's Wine) runs the host.
# check_c_host.sh install <build dir> <example source> <scratch dir> <c compiler> <simulator dir>
#                 <pad library>
#   Installs the build into a scratch prefix, builds examples/c_host against it through CMake
#   and through pkg-config (as C99, warnings as errors), and runs both on the simulator with the
#   pad library preloaded.
set -euo pipefail

expect_line() {  # <output file> <extended regular expression>
  grep -Eq "$2" "$1" || { echo "no line matching: $2"; echo "--- output:"; cat "$1"; exit 1; }
}

# Windows paths for a host run under Wine (which shows the Linux root as drive Z:); Linux ones as
# they are.
host_path() {
  if [ -n "${RUN_UNDER:-}" ]; then echo "Z:${1//\//\\}"; else echo "$1"; fi
}

check_run() {  # <host> <scratch>
  local host="$1" scratch="$2"
  rm -f "$scratch/store.json" "$scratch/host.log"
  # shellcheck disable=SC2086  # RUN_UNDER is a command and its arguments
  CPD_JOYSTICK_STORE="$(host_path "$scratch/store.json")" \
    CPD_JOYSTICK_LOG="$(host_path "$scratch/host.log")" \
    ${RUN_UNDER:-} "$host" | tr -d '\r' >"$scratch/run.txt"
  local out="$scratch/run.txt"
  expect_line "$out" '^cpd_joystick [0-9]+\.[0-9]+\.[0-9]+$'
  expect_line "$out" '^layouts: 1=MAPPING_PS 2=MAPPING_SWITCH_MOD1 3=MAPPING_SWITCH_MOD2 4=MAPPING_ANDROID 5=MAPPING_LOGIC 6=MAPPING_XBOX$'
  expect_line "$out" '^  slot 0  045e:0b13  layout 6  xbox wireless controller  /dev/input/event20$'
  expect_line "$out" '^packet slot 0 #[0-9]+ \(17 bytes\): buttons 0x1000 triggers 0/0 sticks 3276[67],0 0,0$'
  expect_line "$out" '^event JOYSTICK_DEV_LIST_UPDATE \(3 fields\)$'
  expect_line "$out" '^set_mapping\(0, 1\) = 0$'
  expect_line "$out" '^  slot 0  045e:0b13  layout 1  xbox wireless controller  /dev/input/event20$'
  expect_line "$out" '^set_mapping\(3, 1\) = -1: .*"Error:" "index\[3\] mappingIndex\[1\] setmapping failed"$'
  expect_line "$out" '^unregistered \(0\): [1-9][0-9]* packets, [1-9][0-9]* device lists, [1-9][0-9]* events$'
  expect_line "$scratch/host.log" '"Debug:" "end"'
  # The library writes the choice before it is unloaded at the host's exit.
  grep -q '045e:0b13' "$scratch/store.json" && grep -Eq '\\"mapping\\" : 1,' "$scratch/store.json" ||
    { echo "layout not stored:"; cat "$scratch/store.json" 2>/dev/null; exit 1; }
}

mode="$1"
shift
case "$mode" in
  run)
    host="$1" scratch="$2"
    shift 2
    RUN_UNDER="$*"
    mkdir -p "$scratch"
    check_run "$host" "$scratch"
    echo "the C host ran on the simulator"
    ;;
  install)
    build="$1" example="$2" scratch="$3" cc="$4" simulator="$5" pad="$6"
    prefix="$scratch/prefix"
    rm -rf "$scratch"
    mkdir -p "$scratch/cmake-run" "$scratch/pkgconfig-run"
    cmake --install "$build" --prefix "$prefix" >/dev/null
    cmake -S "$example" -B "$scratch/example" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" \
      -DCMAKE_C_COMPILER="$cc" -DCMAKE_C_FLAGS="-Wall -Wextra -Wpedantic -Werror" >/dev/null
    cmake --build "$scratch/example" >/dev/null
    export PKG_CONFIG_PATH="$prefix/lib/pkgconfig"
    # shellcheck disable=SC2046
    "$cc" -std=c99 -Wall -Wextra -Wpedantic -Werror "$example/main.c" -o "$scratch/pkgconfig_host" \
      $(pkg-config --cflags --libs cpd_joystick) -Wl,-rpath,"$prefix/lib"
    export LD_LIBRARY_PATH="$simulator" LD_PRELOAD="$pad"
    check_run "$scratch/example/c_host" "$scratch/cmake-run"
    check_run "$scratch/pkgconfig_host" "$scratch/pkgconfig-run"
    echo "examples/c_host builds against the installed package and runs on the simulator"
    ;;
  *)
    echo "usage: $0 run|install ..." >&2
    exit 2
    ;;
esac
