#!/usr/bin/env bash
# check_install.sh <build dir> <consumer source> <scratch dir> <c++ compiler>
set -euo pipefail
build="$1" consumer="$2" scratch="$3" cxx="$4"
prefix="$scratch/prefix"
rm -rf "$scratch"
mkdir -p "$scratch"

cmake --install "$build" --prefix "$prefix" >/dev/null
test -f "$prefix/include/cpd_joystick/joystick_api.h"
test -f "$prefix/lib/cmake/cpd_joystick/cpd_joystickConfig.cmake"
for header in "$prefix"/include/cpd_joystick/*; do
  case "$(basename "$header")" in
    cpd_joystick.h|export.h|joystick_api.h|sd_config.h|store_update.h) ;;
    *) echo "unexpected installed header: $header"; exit 1 ;;
  esac
done

# Through the CMake package.
cmake -S "$consumer" -B "$scratch/consumer" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" \
  -DCMAKE_CXX_COMPILER="$cxx" >/dev/null
cmake --build "$scratch/consumer" >/dev/null
CPD_JOYSTICK_LOG="$scratch/cmake-host.log" "$scratch/consumer/consumer_host"

# Through pkg-config.
export PKG_CONFIG_PATH="$prefix/lib/pkgconfig"
# shellcheck disable=SC2046
"$cxx" -std=c++17 "$consumer/main.cpp" -o "$scratch/pkgconfig_host" \
  $(pkg-config --cflags --libs cpd_joystick) -Wl,-rpath,"$prefix/lib"
CPD_JOYSTICK_LOG="$scratch/pkgconfig-host.log" "$scratch/pkgconfig_host"

grep -q '"Debug:" "begin"' "$scratch/cmake-host.log"
grep -q '"Debug:" "begin"' "$scratch/pkgconfig-host.log"
echo "installed package works through CMake and pkg-config"
