#!/usr/bin/env python3
"""Gives the controller in slot 0 each of the six layouts in turn, shows what it sends under
each, gives it back the layout it had, and rumbles it for half a second.

    # with the library installed, or with LD_LIBRARY_PATH=build/debug/src
    PYTHONPATH=bindings/python python3 bindings/python/examples/try_layouts.py
    # no controller at hand: a simulated Xbox pad with A held (its choices go to a scratch store),
    # whose motors are read back from the simulator
    PYTHONPATH=bindings/python LD_LIBRARY_PATH=build/debug/sim/lib:build/debug/src \\
        python3 bindings/python/examples/try_layouts.py --simulate
"""
import argparse
import ctypes
import os
import tempfile
import threading
import time

import cpd_joystick


class LastPacket(cpd_joystick.Listener):
    def __init__(self):
        self.lock = threading.Lock()
        self.packet = None

    def on_data(self, packet):
        if packet.slot == 0:
            with self.lock:
                self.packet = packet


ANSWERS = {cpd_joystick.VIBRATING: "VIBRATING", cpd_joystick.NO_CONTROLLER: "NO_CONTROLLER",
           cpd_joystick.NO_MOTORS: "NO_MOTORS"}


class SimulatedPad:
    """The simulator's Xbox pad, with its motors, reached through the SDL2 the library loaded."""

    def __init__(self):
        os.environ.setdefault("CPD_JOYSTICK_STORE", os.path.join(tempfile.mkdtemp(), "store.json"))
        cpd_joystick.load()
        self.sim = ctypes.CDLL("libSDL2-2.0.so.0")  # the simulator, if the library loaded it
        if not hasattr(self.sim, "sim_plug_model"):
            raise SystemExit("--simulate: put the simulator's folder first in LD_LIBRARY_PATH")
        self.sim.sim_motors.argtypes = [ctypes.c_int, ctypes.POINTER(ctypes.c_uint16),
                                        ctypes.POINTER(ctypes.c_uint16)]
        self.pad = self.sim.sim_plug_model(b"xbox", b"/dev/input/event20")
        self.sim.sim_set_button(self.pad, 0, 1)

    def motors(self):
        low, high = ctypes.c_uint16(), ctypes.c_uint16()
        self.sim.sim_motors(self.pad, ctypes.byref(low), ctypes.byref(high))
        return low.value, high.value


def rumble(low, high, pad):
    answer = cpd_joystick.set_vibration(0, low, high)
    print("set_vibration(0, %d, %d) = %s" % (low, high, ANSWERS.get(answer, answer)))
    if pad is not None:
        time.sleep(0.1)  # the library runs them within about a millisecond; a sanitizer is slower
        print("  the simulated pad's motors run at %d, %d" % pad.motors())


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--simulate", action="store_true", help="use a simulated Xbox pad")
    parser.add_argument("--seconds", type=float, default=1.0, help="time on each layout")
    options = parser.parse_args()
    pad = SimulatedPad() if options.simulate else None

    listener = LastPacket()
    cpd_joystick.register(listener)
    try:
        wait = threading.Event()
        for _ in range(50):
            if cpd_joystick.dev_list():
                break
            wait.wait(0.1)
        devices = [d for d in cpd_joystick.dev_list() if d.index == 0]
        if not devices:
            raise SystemExit("no controller in slot 0")
        print("slot 0: %s (%04x:%04x), layout %d" % (devices[0].name, devices[0].vid,
                                                     devices[0].pid, devices[0].mapping_index))
        for layout in cpd_joystick.mapping_list():
            cpd_joystick.set_mapping(0, layout.mapping_index)
            wait.wait(options.seconds)
            with listener.lock:
                packet = listener.packet
            print("%-20s buttons 0x%04x  triggers %3d %3d  left stick %6d %6d" % (
                layout.name, packet.buttons, packet.left_trigger, packet.right_trigger,
                packet.thumb_lx, packet.thumb_ly))
        cpd_joystick.set_mapping(0, devices[0].mapping_index)
        rumble(30000, 65535, pad)
        time.sleep(0.5)
        rumble(0, 0, pad)
    finally:
        cpd_joystick.unregister(listener)


if __name__ == "__main__":
    main()
