"""The Python module driving the shipped library on the simulator.

Run by ctest with the simulator's folder first on the library search path, so the library loads
it as libSDL2-2.0.so.0; the tests script it through the same loaded copy.
"""

import ctypes
import json
import os
import threading
import time
import unittest

import cpd_joystick

WAIT = 15.0  # seconds; generous, sanitizer builds are slow


def _simulator():
    # Every run starts from an empty policy; ctest points the default store at a scratch file.
    if os.path.exists(os.environ["CPD_JOYSTICK_STORE"]):
        os.remove(os.environ["CPD_JOYSTICK_STORE"])
    cpd_joystick.load()  # the library brings the simulator in as its SDL2
    sim = ctypes.CDLL("libSDL2-2.0.so.0")
    sim.sim_plug.restype = ctypes.c_int
    sim.sim_plug.argtypes = [ctypes.c_char_p, ctypes.c_char_p, ctypes.c_uint16, ctypes.c_uint16,
                             ctypes.c_int, ctypes.c_int, ctypes.c_int]
    sim.sim_set_button.argtypes = [ctypes.c_int, ctypes.c_int, ctypes.c_uint8]
    sim.sim_set_axis.argtypes = [ctypes.c_int, ctypes.c_int, ctypes.c_int16]
    sim.sim_is_initialised.restype = ctypes.c_int
    sim.sim_set_motors.argtypes = [ctypes.c_int, ctypes.c_int]
    sim.sim_motors.restype = ctypes.c_int
    sim.sim_motors.argtypes = [ctypes.c_int, ctypes.POINTER(ctypes.c_uint16),
                               ctypes.POINTER(ctypes.c_uint16)]
    return sim


SIM = _simulator()


def plug(name, vid, pid, path="/dev/input/event20", axes=6, buttons=15, hats=1):
    return SIM.sim_plug(name.encode(), path.encode(), vid, pid, axes, buttons, hats)


class Recorder(cpd_joystick.Listener):
    """Records what the library hands over and lets a test wait for it."""

    def __init__(self):
        self.changed = threading.Condition()
        self.packets = []
        self.dev_list_updates = 0
        self.events = []
        self.during_dev_list_update = None

    def on_data(self, packet):
        with self.changed:
            self.packets.append(packet)
            self.changed.notify_all()

    def on_dev_list_update(self):
        if self.during_dev_list_update is not None:
            self.during_dev_list_update()
        with self.changed:
            self.dev_list_updates += 1
            self.changed.notify_all()

    def on_event(self, name, fields):
        with self.changed:
            self.events.append((name, fields))
            self.changed.notify_all()

    def wait_for(self, done):
        with self.changed:
            return self.changed.wait_for(done, timeout=WAIT)


class Module(unittest.TestCase):
    def setUp(self):
        SIM.sim_reset()
        self.recorder = Recorder()
        self.addCleanup(self._unregister)

    def _unregister(self):
        cpd_joystick.unregister(self.recorder)
        SIM.sim_reset()

    def test_version_is_the_librarys(self):
        self.assertEqual(cpd_joystick.version(), os.environ["CPD_EXPECTED_VERSION"])

    def test_device_list_packets_and_events(self):
        pad = plug("Xbox Wireless Controller", 0x045E, 0x0B13, buttons=11)
        SIM.sim_set_button(pad, 0, 1)  # A
        cpd_joystick.register(self.recorder)
        self.assertTrue(self.recorder.wait_for(
            lambda: self.recorder.dev_list_updates >= 1 and len(self.recorder.packets) >= 3))

        self.assertEqual(cpd_joystick.dev_list(), [cpd_joystick.Device(
            vid=0x045E, pid=0x0B13, index=0, mapping_index=6, name="xbox wireless controller",
            path="/dev/input/event20", truncated=False)])
        self.assertEqual([m.name for m in cpd_joystick.mapping_list()], [
            "MAPPING_PS", "MAPPING_SWITCH_MOD1", "MAPPING_SWITCH_MOD2", "MAPPING_ANDROID",
            "MAPPING_LOGIC", "MAPPING_XBOX"])
        self.assertEqual([m.mapping_index for m in cpd_joystick.mapping_list()],
                         [1, 2, 3, 4, 5, 6])
        with self.recorder.changed:
            packets = list(self.recorder.packets)
            events = list(self.recorder.events)
        self.assertEqual(packets[0].slot, 0)
        self.assertEqual(packets[0].buttons, 0x1000)
        self.assertEqual(len(packets[0].raw), 17)
        self.assertEqual(packets[0].raw[5:7], b"\x00\x10")
        self.assertEqual(packets[1].packet_number, packets[0].packet_number + 1)
        name, fields = events[0]
        self.assertEqual(name, "JOYSTICK_DEV_LIST_UPDATE")
        self.assertEqual(list(fields), ["message", "status", "success"])
        self.assertIn("joystickNum: 1{vid:0x045e pid:0x0b13 devname:xbox wireless controller",
                      fields["message"])

    def test_layout_change_is_applied_and_stored_in_the_policy_document(self):
        plug("DualSense Wireless Controller", 0x054C, 0x0CE6)
        cpd_joystick.register(self.recorder)
        self.assertTrue(self.recorder.wait_for(lambda: self.recorder.dev_list_updates >= 1))
        self.assertEqual(cpd_joystick.dev_list()[0].mapping_index, 1)

        cpd_joystick.set_mapping(0, 5)
        self.assertEqual(cpd_joystick.dev_list()[0].mapping_index, 5)
        deadline = time.monotonic() + WAIT
        stored = None
        while time.monotonic() < deadline:
            stored = _stored_policy()
            if any(entry.get("vidpid") == "054c:0ce6" for entry in stored):
                break
            time.sleep(0.05)
        self.assertIn({"describe": "dualsense wireless controller", "mapping": 5,
                       "vidpid": "054c:0ce6"}, stored)

    def test_a_choice_the_store_cannot_take_is_counted_until_it_is_stored(self):
        plug("Generic USB Joystick", 0x0079, 0x0006)
        cpd_joystick.register(self.recorder)
        self.assertTrue(self.recorder.wait_for(lambda: self.recorder.dev_list_updates >= 1))
        store = os.environ["CPD_JOYSTICK_STORE"]
        blocker = store + ".blocker"  # a file where the store's folder would have to be
        open(blocker, "w", encoding="utf-8").close()
        os.environ["CPD_JOYSTICK_STORE"] = os.path.join(blocker, "store.json")
        try:
            cpd_joystick.set_mapping(0, 3)
            time.sleep(0.3)  # the watcher's first attempt, refused
            self.assertEqual(cpd_joystick.unstored_choices(), 1)
        finally:
            os.environ["CPD_JOYSTICK_STORE"] = store
            os.remove(blocker)
        deadline = time.monotonic() + WAIT
        while cpd_joystick.unstored_choices() != 0 and time.monotonic() < deadline:
            time.sleep(0.05)
        self.assertEqual(cpd_joystick.unstored_choices(), 0)
        self.assertIn({"describe": "generic usb joystick", "mapping": 3,
                       "vidpid": "0079:0006"}, _stored_policy())

    def test_bad_slot_and_bad_layout_raise_with_the_librarys_message(self):
        plug("Nintendo Switch Pro Controller", 0x057E, 0x2009)
        cpd_joystick.register(self.recorder)
        self.assertTrue(self.recorder.wait_for(lambda: self.recorder.dev_list_updates >= 1))

        with self.assertRaises(cpd_joystick.Error) as bad_slot:
            cpd_joystick.set_mapping(3, 1)
        self.assertEqual(bad_slot.exception.code, -1)
        self.assertIn('"Error:" "index[3] mappingIndex[1] setmapping failed"',
                      str(bad_slot.exception))

        with self.assertRaises(cpd_joystick.Error) as bad_kind:
            cpd_joystick.set_mapping(0, 9)
        self.assertIn("mappingIndex[9] UNKNOWN mapping", str(bad_kind.exception))
        self.assertIn("index[0] mappingIndex[9] setmapping failed", str(bad_kind.exception))
        self.assertEqual(cpd_joystick.dev_list()[0].mapping_index, 2)  # unchanged

        with self.assertRaises(ValueError):
            cpd_joystick.set_mapping(0, 70000)
        cpd_joystick.calibration(1)  # accepted, does nothing

    def test_poll_interval_takes_one_to_thirty_and_raises_otherwise(self):
        cpd_joystick.set_poll_interval(4)
        with self.assertRaises(cpd_joystick.Error) as too_long:
            cpd_joystick.set_poll_interval(31)
        self.assertIn("interval[31] refused: the poll interval is 1 to 30 ms", str(too_long.exception))
        cpd_joystick.set_poll_interval(30)

    def test_vibration_answers_why_and_runs_the_motors_until_polling_stops(self):
        def motors(pad):
            low, high = ctypes.c_uint16(), ctypes.c_uint16()
            SIM.sim_motors(pad, ctypes.byref(low), ctypes.byref(high))
            return low.value, high.value

        self.assertEqual(cpd_joystick.set_vibration(0, 1, 2), cpd_joystick.NO_CONTROLLER)
        pad = plug("Xbox Wireless Controller", 0x045E, 0x0B13, buttons=11)
        SIM.sim_set_motors(pad, 1)
        plug("Generic USB Joystick", 0x0079, 0x0006, path="/dev/input/event21", axes=4,
             buttons=12)
        cpd_joystick.register(self.recorder)
        self.assertTrue(self.recorder.wait_for(lambda: self.recorder.dev_list_updates >= 1))

        self.assertEqual(cpd_joystick.set_vibration(0, 30000, 65535), cpd_joystick.VIBRATING)
        self.assertEqual(cpd_joystick.set_vibration(1, 30000, 65535), cpd_joystick.NO_MOTORS)
        self.assertEqual(cpd_joystick.set_vibration(2, 30000, 65535), cpd_joystick.NO_CONTROLLER)
        with self.assertRaises(ValueError):
            cpd_joystick.set_vibration(0, 65536, 0)
        deadline = time.monotonic() + WAIT
        while motors(pad) != (30000, 65535) and time.monotonic() < deadline:
            time.sleep(0.001)
        self.assertEqual(motors(pad), (30000, 65535))

        cpd_joystick.unregister(self.recorder)
        self.assertEqual(motors(pad), (0, 0))
        self.assertEqual(cpd_joystick.set_vibration(0, 1, 1), cpd_joystick.NO_CONTROLLER)

    def test_unregister_stops_the_calls_and_polling(self):
        plug("Xbox Wireless Controller", 0x045E, 0x0B13, buttons=11)
        cpd_joystick.register(self.recorder)
        cpd_joystick.register(self.recorder)  # again: changes nothing
        self.assertTrue(self.recorder.wait_for(lambda: len(self.recorder.packets) >= 3))
        cpd_joystick.unregister(self.recorder)
        self.assertEqual(SIM.sim_is_initialised(), 0)
        with self.recorder.changed:
            count = len(self.recorder.packets)
        time.sleep(0.2)
        with self.recorder.changed:
            self.assertEqual(len(self.recorder.packets), count)
        cpd_joystick.unregister(self.recorder)  # unknown now: not an error

    def test_registering_from_inside_a_callback_raises(self):
        plug("Xbox Wireless Controller", 0x045E, 0x0B13, buttons=11)
        other = Recorder()
        refusals = []

        def register_other():
            try:
                cpd_joystick.register(other)
            except cpd_joystick.Error as error:
                refusals.append(str(error))

        self.recorder.during_dev_list_update = register_other
        cpd_joystick.register(self.recorder)
        self.assertTrue(self.recorder.wait_for(lambda: self.recorder.dev_list_updates >= 1))
        self.assertEqual(len(refusals), 1)
        self.assertIn("refused: listeners must not register from inside a callback", refusals[0])
        self.assertEqual(other.dev_list_updates, 0)

    def test_any_object_with_the_three_methods_listens(self):
        plug("Xbox Wireless Controller", 0x045E, 0x0B13, buttons=11)
        packets = []
        arrived = threading.Event()

        class OnlyData(cpd_joystick.Listener):
            def on_data(self, packet):
                packets.append(packet.slot)
                arrived.set()

        listener = OnlyData()
        cpd_joystick.register(listener)
        try:
            self.assertTrue(arrived.wait(WAIT))
        finally:
            cpd_joystick.unregister(listener)
        self.assertEqual(packets[0], 0)


def _stored_policy():
    try:
        with open(os.environ["CPD_JOYSTICK_STORE"], encoding="utf-8") as store:
            text = json.load(store).get("joystickPolicyList", "")
    except (OSError, ValueError):
        return []
    return json.loads(text) if text else []


if __name__ == "__main__":
    unittest.main()
