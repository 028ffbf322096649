"""The joystick bridge from Python, through its C interface (cpd_joystick.h).

Standard library only: the shared library is loaded with ctypes, nothing is built.

    import cpd_joystick

    class Printer(cpd_joystick.Listener):
        def on_data(self, packet):
            print(packet.slot, hex(packet.buttons))

    printer = Printer()
    cpd_joystick.register(printer)          # the first listener starts polling
    print(cpd_joystick.dev_list())
    cpd_joystick.set_mapping(0, 1)          # raises cpd_joystick.Error on failure
    cpd_joystick.unregister(printer)        # the last one stops it

The library is looked up as $CPD_JOYSTICK_LIBRARY, else by its usual name on the library search
path (libcpd_joystick.so.0, cpd_joystick.dll); load() picks another one before first use.

Listener methods run on the library's polling thread, one at a time. An exception raised in one
is printed by ctypes and otherwise ignored; the library goes on polling.
"""

import ctypes
import os
import sys
import threading
from dataclasses import dataclass

__all__ = [
    "Error", "Device", "Mapping", "Packet", "Listener", "load", "version", "register",
    "unregister", "dev_list", "mapping_list", "set_mapping", "calibration",
    "set_poll_interval", "set_vibration", "unstored_choices", "VIBRATING", "NO_CONTROLLER",
    "NO_MOTORS",
]

# Must match cpd_joystick.h.
_OK = 0
_NAME_SIZE = 256
_PATH_SIZE = 256
_MAPPING_NAME_SIZE = 32
_UINT16_MAX = 0xFFFF

# What set_vibration answers (cpd_joystick_set_vibration's codes).
VIBRATING = 0  # the controller in the slot runs its motors at the speeds asked
NO_CONTROLLER = -1  # no open controller holds the slot
NO_MOTORS = -3  # the controller in the slot has no motors


class Error(RuntimeError):
    """A call the library refused or failed; `code` is its result, the text its error lines."""

    def __init__(self, code, message):
        super().__init__(message or "failed with %d" % code)
        self.code = code
        self.message = message


@dataclass(frozen=True)
class Device:
    vid: int
    pid: int
    index: int  # the slot, the first argument of set_mapping
    mapping_index: int  # the layout applied now
    name: str
    path: str
    truncated: bool  # the name or the path was cut to fit


@dataclass(frozen=True)
class Mapping:
    index: int
    mapping_index: int  # the second argument of set_mapping
    name: str


@dataclass(frozen=True)
class Packet:
    slot: int
    packet_number: int
    buttons: int
    left_trigger: int
    right_trigger: int
    thumb_lx: int
    thumb_ly: int
    thumb_rx: int
    thumb_ry: int
    raw: bytes  # the 17 bytes as the library sent them


class Listener:
    """Override what you need; the defaults do nothing."""

    def on_data(self, packet):
        pass

    def on_dev_list_update(self):
        pass

    def on_event(self, name, fields):
        pass


class _DeviceInfo(ctypes.Structure):
    _fields_ = [
        ("vid", ctypes.c_uint16), ("pid", ctypes.c_uint16), ("index", ctypes.c_uint16),
        ("mapping_index", ctypes.c_uint16), ("flag", ctypes.c_uint8),
        ("truncated", ctypes.c_uint8), ("name", ctypes.c_char * _NAME_SIZE),
        ("path", ctypes.c_char * _PATH_SIZE),
    ]


class _MappingInfo(ctypes.Structure):
    _fields_ = [
        ("index", ctypes.c_uint16), ("mapping_index", ctypes.c_uint16),
        ("truncated", ctypes.c_uint8), ("name", ctypes.c_char * _MAPPING_NAME_SIZE),
    ]


class _Packet(ctypes.Structure):
    _pack_ = 1
    _fields_ = [
        ("slot", ctypes.c_uint8), ("dwPacketNumber", ctypes.c_uint32),
        ("wButtons", ctypes.c_uint16), ("bLeftTrigger", ctypes.c_uint8),
        ("bRightTrigger", ctypes.c_uint8), ("sThumbLX", ctypes.c_int16),
        ("sThumbLY", ctypes.c_int16), ("sThumbRX", ctypes.c_int16), ("sThumbRY", ctypes.c_int16),
    ]


class _Field(ctypes.Structure):
    _fields_ = [("key", ctypes.c_char_p), ("value", ctypes.c_char_p)]


_OnData = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.POINTER(_Packet), ctypes.c_int32)
_OnDevListUpdate = ctypes.CFUNCTYPE(None, ctypes.c_void_p)
_OnEvent = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.c_char_p, ctypes.POINTER(_Field),
                            ctypes.c_size_t)


class _CListener(ctypes.Structure):
    _fields_ = [
        ("on_data", _OnData), ("on_dev_list_update", _OnDevListUpdate), ("on_event", _OnEvent),
        ("user", ctypes.c_void_p),
    ]


_SIGNATURES = {
    "cpd_joystick_register": (ctypes.c_int32, [ctypes.POINTER(_CListener)]),
    "cpd_joystick_unregister": (ctypes.c_int32, [ctypes.POINTER(_CListener)]),
    "cpd_joystick_get_dev_list": (ctypes.c_int32, [ctypes.POINTER(_DeviceInfo), ctypes.c_size_t]),
    "cpd_joystick_get_mapping_list": (ctypes.c_int32,
                                      [ctypes.POINTER(_MappingInfo), ctypes.c_size_t]),
    "cpd_joystick_set_mapping": (ctypes.c_int32, [ctypes.c_uint16, ctypes.c_uint16]),
    "cpd_joystick_calibration": (ctypes.c_int32, [ctypes.c_uint16]),
    "cpd_joystick_set_poll_interval": (ctypes.c_int32, [ctypes.c_uint16]),
    "cpd_joystick_set_vibration": (ctypes.c_int32,
                                   [ctypes.c_uint16, ctypes.c_uint16, ctypes.c_uint16]),
    "cpd_joystick_unstored_choices": (ctypes.c_int32, []),
    "cpd_joystick_version": (ctypes.c_char_p, []),
    "cpd_joystick_last_error": (ctypes.c_char_p, []),
}

_lock = threading.Lock()  # guards _library and _registered; never held during a library call
_library = None
# id(listener) -> (listener, its C struct, the callbacks): kept while the library may call them.
_registered = {}


def _default_library_name():
    if sys.platform.startswith("win"):
        return "cpd_joystick.dll"
    return "libcpd_joystick.so.0"


def load(path=None):
    """Loads the library (once) and returns the ctypes handle."""
    global _library
    with _lock:
        if _library is None:
            name = path or os.environ.get("CPD_JOYSTICK_LIBRARY") or _default_library_name()
            library = ctypes.CDLL(name)
            for function, (result, arguments) in _SIGNATURES.items():
                getattr(library, function).restype = result
                getattr(library, function).argtypes = arguments
            _library = library
        return _library


def _text(raw):
    return raw.decode("utf-8", errors="replace") if raw else ""


def _last_error(library):
    return _text(library.cpd_joystick_last_error())


def _checked(library, result):
    if result < _OK:
        raise Error(result, _last_error(library))
    return result


def _uint16(name, value):
    if not 0 <= value <= _UINT16_MAX:
        raise ValueError("%s must be 0..65535, not %r" % (name, value))
    return value


def version():
    return _text(load().cpd_joystick_version())


def _callbacks_of(listener):
    def on_data(_user, packet, size):
        fields = packet.contents
        listener.on_data(Packet(
            fields.slot, fields.dwPacketNumber, fields.wButtons, fields.bLeftTrigger,
            fields.bRightTrigger, fields.sThumbLX, fields.sThumbLY, fields.sThumbRX,
            fields.sThumbRY, ctypes.string_at(packet, size)))

    def on_dev_list_update(_user):
        listener.on_dev_list_update()

    def on_event(_user, name, fields, count):
        listener.on_event(_text(name),
                          {_text(fields[i].key): _text(fields[i].value) for i in range(count)})

    return _OnData(on_data), _OnDevListUpdate(on_dev_list_update), _OnEvent(on_event)


def register(listener):
    """Adds `listener` (a Listener, or any object with its three methods); the first listener
    starts polling. Registering it again changes nothing."""
    library = load()
    with _lock:
        entry = _registered.get(id(listener))
        if entry is None:
            callbacks = _callbacks_of(listener)
            entry = (listener, _CListener(*callbacks, None), callbacks)
            # Kept even if registering fails: the library may have taken it all the same, and
            # unregister() lets go of it.
            _registered[id(listener)] = entry
    _checked(library, library.cpd_joystick_register(ctypes.byref(entry[1])))


def unregister(listener):
    """Removes `listener`; none of its methods is called after this returns. The last one
    stops polling. An unknown listener is not an error."""
    library = load()
    with _lock:
        entry = _registered.get(id(listener))
    struct = entry[1] if entry is not None else _CListener()
    _checked(library, library.cpd_joystick_unregister(ctypes.byref(struct)))
    with _lock:
        if _registered.get(id(listener)) is entry:
            _registered.pop(id(listener), None)


def _copied_list(fetch, record_type):
    # The list may grow between counting and copying; then count again.
    while True:
        capacity = fetch(None, 0)
        buffer = (record_type * max(capacity, 1))()
        count = fetch(buffer, capacity)
        if count <= capacity:
            return buffer[:count]


def dev_list():
    """The controllers the library lists now."""
    library = load()

    def fetch(buffer, capacity):
        return _checked(library, library.cpd_joystick_get_dev_list(buffer, capacity))

    return [Device(d.vid, d.pid, d.index, d.mapping_index, _text(d.name), _text(d.path),
                   d.truncated != 0) for d in _copied_list(fetch, _DeviceInfo)]


def mapping_list():
    """The layouts a controller can be given; empty before the first registration."""
    library = load()

    def fetch(buffer, capacity):
        return _checked(library, library.cpd_joystick_get_mapping_list(buffer, capacity))

    return [Mapping(m.index, m.mapping_index, _text(m.name))
            for m in _copied_list(fetch, _MappingInfo)]


def set_mapping(slot, mapping_index):
    """Gives the controller in `slot` the layout `mapping_index` and remembers it for that
    controller model. Raises Error with the library's error lines when it cannot."""
    library = load()
    _checked(library, library.cpd_joystick_set_mapping(_uint16("slot", slot),
                                                       _uint16("mapping_index", mapping_index)))


def set_poll_interval(milliseconds):
    """Polls every `milliseconds` (1 to 30; 30 is the default). Below 30 a controller's packet
    is sent as soon as its state changes. Raises Error with the library's line for other values."""
    library = load()
    _checked(library, library.cpd_joystick_set_poll_interval(_uint16("milliseconds", milliseconds)))


def set_vibration(slot, low, high):
    """Runs the motors of the controller in `slot` at `low` and `high` (0 = off, 65535 = full)
    until a later call changes them; (0, 0) stops them. Returns VIBRATING, NO_CONTROLLER or
    NO_MOTORS; neither of the last two raises, since a game may call blindly and often."""
    return load().cpd_joystick_set_vibration(_uint16("slot", slot), _uint16("low", low),
                                             _uint16("high", high))


def unstored_choices():
    """How many layout choices the secure store has not taken yet (0 when all are stored). A
    refused choice is retried about once a second."""
    return load().cpd_joystick_unstored_choices()


def calibration(slot):
    """Accepted for compatibility; does nothing."""
    library = load()
    _checked(library, library.cpd_joystick_calibration(_uint16("slot", slot)))
