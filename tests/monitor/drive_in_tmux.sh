#!/usr/bin/env bash
# drive_in_tmux.sh <monitor program>
# Drives the real monitor in a terminal as a person would: plugs an Xbox pad and a DualSense on
# the simulator, presses a face button and the d-pad, switches a layout, rumbles a pad, unplugs
# it, asks a pad without motors to rumble, opens the help and the log, quits; then runs it under
# `timeout`, which ends it with SIGTERM. Each step waits for what the screen must show, up to 20
# seconds.
set -euo pipefail
monitor="$1"

socket="cpd-monitor-test-$$-$RANDOM"
session=monitor
scratch="$(mktemp -d)"
cleanup() {
  tmux -L "$socket" kill-server 2>/dev/null || true
  rm -rf "$scratch"
}
trap cleanup EXIT

tmux_() { tmux -L "$socket" "$@"; }
screen() { tmux_ capture-pane -p -t "$session"; }
keys() { tmux_ send-keys -t "$session" "$@"; }
fail() {
  echo "FAILED: $1; the screen was:"
  screen || true
  exit 1
}

# Waits until a line of the screen matches the extended regular expression $1.
wait_for() {
  local deadline=$((SECONDS + 20))
  while ((SECONDS < deadline)); do
    if screen | grep -qE -- "$1"; then
      return 0
    fi
    sleep 0.2
  done
  fail "no line matching '$1' ($2)"
}

# The monitor runs with a home and a temporary folder of its own: a demo must leave the user's
# stored layout choices alone and clean up after itself. $1 is put before the monitor (a
# wrapper), the rest after --simulate. The shell around it reports how it ended.
start() {
  local wrapper="$1"
  shift
  mkdir -p "$scratch/home" "$scratch/tmp"
  tmux_ -f /dev/null new-session -d -s "$session" -x 100 -y 30 \
    "env -u CPD_JOYSTICK_STORE HOME=$scratch/home XDG_CONFIG_HOME= TMPDIR=$scratch/tmp \
       $wrapper $monitor --simulate $*; echo \"monitor exit status \$?\"; sleep 600"
}

start ""
wait_for 'press p to plug a simulated pad' "an empty table at first"

keys p
wait_for '1  Xbox pad' "the plug menu"
keys 1
wait_for '^>0 +xbox wireless controller +045e:0b13 +/dev/input/event20 +MAPPING_XBOX' \
  "the Xbox pad in slot 0"
keys p 2
wait_for '^ 1 +dualsense wireless controller +054c:0ce6 +/dev/input/event21 +MAPPING_PS' \
  "the DualSense in slot 1"

keys Down
wait_for '^-- slot 1: dualsense wireless controller \(MAPPING_PS\)' "the DualSense selected"
wait_for '\(A\)' "a released A"
keys Tab
wait_for '\| DRIVE' "drive mode"
keys Space
wait_for '\[A\]' "A lit"
wait_for 'wButtons 0x1000' "A in the button word"
wait_for 'A: button 0 pressed' "the raw input A moved"
keys Up
wait_for 'wButtons 0x1001' "the d-pad, which the DualSense layout reads from button 11"
wait_for '\^: button 11 pressed' "the raw button the DualSense layout reads"

keys Tab
wait_for 'Up/Down select' "back to the command keys"
keys 6
wait_for 'JoysticAPI_SetMapping\(1, 6\) = 0, now MAPPING_XBOX' "the layout change's answer"
wait_for '^>1 +dualsense wireless controller +054c:0ce6 +/dev/input/event21 +MAPPING_XBOX' \
  "the table shows the new layout"
wait_for 'wButtons 0x1001' "the held d-pad, now read from the hat the Xbox layout reads"

wait_for '^ motors LF \[\.{10}\] +0  HF \[\.{10}\] +0  simulator.s reading' \
  "the DualSense's motors at rest, as the simulator reads them"
keys v
wait_for 'JoysticAPI_SetVibration\(1, 30000, 65535\) = 0, rumbling' "the test rumble's answer"
wait_for '^ motors LF \[#{5}\.{5}\] 30000  HF \[#{10}\] 65535  simulator.s reading' \
  "the motors running at the speeds asked"
keys v
wait_for 'JoysticAPI_SetVibration\(1, 0, 0\) = 0, motors stopped' "the second press stops them"
wait_for '^ motors LF \[\.{10}\] +0  HF \[\.{10}\] +0' "the motors at rest again"

keys u
wait_for 'simulated, 1 pad plugged \| 1 listed' "one controller left"
wait_for 'simulator unplugged dualsense wireless controller at /dev/input/event21' \
  "the unplug in the event pane"
wait_for 'JOYSTICK_DEV_LIST_UPDATE joystickNum: 1\{vid:0x045e' "the library's new list"
screen | grep -qE '^.1 +dualsense' && fail "the DualSense is still in the table"

keys p 6
wait_for '^ [0-9] +generic usb joystick' "a generic pad, which has no motors"
keys Down
wait_for '^-- slot [0-9]: generic usb joystick' "the generic pad selected"
wait_for '^ no motors *$' "the simulator's word that it has no motors"
keys v
wait_for 'JoysticAPI_SetVibration\([0-9], 30000, 65535\) = -2, it has no motors' \
  "the library's answer for a pad without motors"

keys '?'
wait_for 'Drive keys' "the help"
keys x
wait_for 'Up/Down select' "the help closed"
keys l
wait_for '^-- library log' "the log pane"
wait_for '^ D [a-z_]+\.cpp ' "library lines in the log pane"

keys q
wait_for '^monitor exit status 0$' "a clean end on q"
screen | grep -q 'pkt/s' && fail "the terminal was not restored"
[ ! -e "$scratch/home/.config/cpd-joystick" ] || fail "the demo wrote the user's store"
[ -z "$(ls -A "$scratch/tmp")" ] || fail "the demo left its temporary store behind"

# A second run, on a server of its own, as `timeout` runs it: in a process group of its own,
# which the terminal takes for a background job. The screen must still show and take keys, and
# timeout's SIGTERM must end it cleanly.
tmux_ kill-server
socket="$socket-timeout"
start "timeout --preserve-status 15" --plug xbox
wait_for '^>0 +xbox wireless controller' "the pad plugged at the start"
keys p 2
wait_for '^ 1 +dualsense wireless controller' "a pad plugged by keys"
wait_for '^monitor exit status 0$' "a clean end on timeout's SIGTERM"
screen | grep -q 'pkt/s' && fail "the terminal was not restored"
echo "the monitor showed, switched, rumbled, unplugged and quit as expected"
