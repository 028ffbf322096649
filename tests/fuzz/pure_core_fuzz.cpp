// Fuzzes the pure core: a layout from the table or arbitrary bindings (unknown types, controls
// outside the 25, negative and huge numbers), a raw reading, a name with a stored choice, and a
// device list. Besides the sanitizers, it checks what must hold for every input: the shape keeps
// every number a binding reads, a translation is whole, repeatable and the same with or without
// the pressed list, every pressed read is one a binding made, only bound controls set their bits,
// the layout choice follows the stored kind and then the first matching name rule, and the
// device list's summary repeats every entry so far after each one.
#include <algorithm>
#include <array>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "joystick_mapping/device_summary.h"
#include "joystick_mapping/layout_choice.h"
#include "joystick_mapping/layout_table.h"
#include "joystick_mapping/translation.h"

namespace {

using cpd::InputBinding;
using cpd::InputId;
using cpd::InputType;
using cpd::RawInputs;
using cpd::XboxGamepad;

[[noreturn]] void Fail(const char* what) {
  std::fprintf(stderr, "pure core fuzz: %s\n", what);
  std::abort();
}

void Check(bool holds, const char* what) {
  if (!holds) {
    Fail(what);
  }
}

// Reads the input front to back; past its end every read is 0.
class Bytes {
 public:
  Bytes(const uint8_t* data, size_t size) : mData(data), mSize(size) {}

  uint8_t Byte() { return mAt < mSize ? mData[mAt++] : 0; }
  uint16_t Word() {
    const uint8_t high = Byte();
    return static_cast<uint16_t>(high << 8U | Byte());
  }
  uint32_t Long() {
    const uint16_t high = Word();
    return static_cast<uint32_t>(high) << 16U | Word();
  }
  std::string Text(size_t length) {
    const size_t taken = std::min(length, mSize - mAt);
    std::string text(reinterpret_cast<const char*>(mData + mAt), taken);
    mAt += taken;
    return text;
  }

 private:
  const uint8_t* mData;
  size_t mSize;
  size_t mAt = 0;
};

// The header's first byte.
constexpr uint8_t ARBITRARY_BINDINGS = 0x01;
constexpr uint8_t CHOSEN_INPUTS = 0x02;
constexpr uint8_t CHOSEN_COUNTS = 0x04;

InputType TypeOf(uint8_t byte) {
  // Mostly the seven kinds and a few unknown ones, now and then a value far outside them.
  return byte >= 0xF0 ? static_cast<InputType>(0xFFFFFFFFU - (byte & 0x0FU))
                      : static_cast<InputType>(byte % 9U);
}

int32_t NumberOf(uint8_t byte) {
  switch (byte) {
    case 0x80:
      return INT_MIN;
    case 0x7F:
      return INT_MAX;
    default:
      return static_cast<int8_t>(byte);
  }
}

std::map<InputId, InputBinding> BindingsFrom(uint8_t flags, uint8_t kind, Bytes& bytes) {
  std::map<InputId, InputBinding> bindings;
  if ((flags & ARBITRARY_BINDINGS) == 0) {
    // Kinds 0 and 7 are no layout: every control reads unbound.
    const auto layout = static_cast<cpd::MappingIndex>(kind % 8U);
    for (uint32_t id = 0; id < cpd::INPUT_ID_COUNT; ++id) {
      bindings[static_cast<InputId>(id)] = cpd::LayoutBinding(layout, static_cast<InputId>(id));
    }
    return bindings;
  }
  const uint8_t entries = bytes.Byte() % 32U;
  for (uint8_t i = 0; i < entries; ++i) {
    const auto id = static_cast<InputId>(bytes.Byte() % 28U);
    const InputType type = TypeOf(bytes.Byte());
    const int32_t number = NumberOf(bytes.Byte());
    const auto value = static_cast<int16_t>(bytes.Word());
    bindings[id] = {type, number, value};
  }
  return bindings;
}

std::vector<InputId> InputsFrom(uint8_t flags, const std::map<InputId, InputBinding>& bindings,
                                Bytes& bytes) {
  std::vector<InputId> inputs;
  if ((flags & CHOSEN_INPUTS) == 0) {
    cpd::GetMappedInputs(bindings, inputs);
    return inputs;
  }
  // Any order, repeats, and controls outside the 25, now and then far outside.
  const uint8_t count = bytes.Byte() % 40U;
  for (uint8_t i = 0; i < count; ++i) {
    const uint8_t byte = bytes.Byte();
    inputs.push_back(
        static_cast<InputId>(byte >= 0xF0 ? 0xFFFFFFFFU - (byte & 0x0FU) : byte % 30U));
  }
  return inputs;
}

bool Readable(InputType type) {
  return type == InputType::DPAD || type == InputType::STICK || type == InputType::TRIGGER ||
         type == InputType::BUTTON;
}

InputBinding BindingFor(const cpd::BindingSnapshot& snapshot, InputId id) {
  const auto slot = static_cast<uint32_t>(id);
  return slot < cpd::INPUT_ID_COUNT ? snapshot[slot] : InputBinding{};
}

RawInputs::Kind* KindRead(RawInputs& raw, InputType type) {
  switch (type) {
    case InputType::DPAD:
      return &raw.hats;
    case InputType::STICK:
    case InputType::TRIGGER:
      return &raw.axes;
    case InputType::BUTTON:
      return &raw.buttons;
    default:
      return nullptr;
  }
}

void CheckShape(const cpd::BindingSnapshot& snapshot, const std::vector<InputId>& inputs,
                const RawInputs& shaped) {
  RawInputs expected;
  for (const InputId id : inputs) {
    const InputBinding binding = BindingFor(snapshot, id);
    RawInputs::Kind* kind = KindRead(expected, binding.type);
    if (kind != nullptr && binding.index >= 0 && binding.index < cpd::RAW_INPUT_CAPACITY) {
      kind->count = std::max(kind->count, binding.index + 1);
    }
  }
  Check(shaped.axes.count == expected.axes.count &&
            shaped.buttons.count == expected.buttons.count &&
            shaped.hats.count == expected.hats.count,
        "the shape is not the highest number read plus one within the capacity");
}

struct Translation {
  XboxGamepad gamepad;
  std::vector<cpd::PressedRead> pressed;
};

Translation Translate(const RawInputs& raw, const cpd::BindingSnapshot& snapshot,
                      const std::vector<InputId>& inputs) {
  Translation translation;
  // Left over from an earlier report: the translation must replace all of it.
  translation.gamepad.wButtons = 0xFFFF;
  translation.gamepad.bLeftTrigger = translation.gamepad.bRightTrigger = 0xAA;
  translation.gamepad.sThumbLX = translation.gamepad.sThumbRY = INT16_MIN;
  translation.pressed.assign(3, {true, -99, 0, -99});
  cpd::TranslateReport(raw, snapshot, inputs, translation.gamepad, &translation.pressed);
  return translation;
}

void CheckPressed(const RawInputs& raw, const cpd::BindingSnapshot& snapshot,
                  const std::vector<InputId>& inputs,
                  const std::vector<cpd::PressedRead>& pressed) {
  Check(pressed.size() <= inputs.size(), "more pressed reads than controls read");
  size_t expected = 0;
  for (const InputId id : inputs) {
    const InputBinding binding = BindingFor(snapshot, id);
    expected += binding.type == InputType::DPAD     ? raw.hats.At(binding.index) != 0
                : binding.type == InputType::BUTTON ? raw.buttons.At(binding.index) > 0
                                                    : false;
  }
  Check(pressed.size() == expected, "a pressed button or hat read is missing");
  // Each read is the next control, in reading order, whose binding found its input pressed.
  size_t next = 0;
  for (const cpd::PressedRead& read : pressed) {
    bool found = false;
    while (!found && next < inputs.size()) {
      const InputBinding binding = BindingFor(snapshot, inputs[next++]);
      const bool hat = binding.type == InputType::DPAD;
      found = (hat || binding.type == InputType::BUTTON) && read.hat == hat &&
              read.index == binding.index && read.mapValue == binding.value;
    }
    Check(found, "a pressed read that no control made, or out of reading order");
    const int32_t value = read.hat ? raw.hats.At(read.index) : raw.buttons.At(read.index);
    Check(read.value == value && (read.hat ? value != 0 : value > 0),
          "a pressed read that is not the reading, or not pressed");
  }
}

void CheckButtons(const cpd::BindingSnapshot& snapshot, const std::vector<InputId>& inputs,
                  uint16_t buttons) {
  uint16_t bound = 0;
  for (const InputId id : inputs) {
    const auto bit = cpd::XboxButtonBits.find(id);
    if (bit != cpd::XboxButtonBits.end() && Readable(BindingFor(snapshot, id).type)) {
      bound = static_cast<uint16_t>(bound | bit->second);
    }
  }
  Check((buttons & ~bound) == 0, "a button bit set that no bound control owns");
}

void CheckTranslation(RawInputs raw, const cpd::BindingSnapshot& snapshot,
                      const std::vector<InputId>& inputs) {
  const Translation first = Translate(raw, snapshot, inputs);
  CheckPressed(raw, snapshot, inputs, first.pressed);
  CheckButtons(snapshot, inputs, first.gamepad.wButtons);
  for (const int16_t stick : {first.gamepad.sThumbLX, first.gamepad.sThumbLY,
                              first.gamepad.sThumbRX, first.gamepad.sThumbRY}) {
    Check(stick != INT16_MIN, "a stick field at -32768, beyond full deflection");
  }
  const Translation again = Translate(raw, snapshot, inputs);
  Check(again.gamepad == first.gamepad, "translating twice gives two states");
  Check(again.pressed.size() == first.pressed.size(), "translating twice lists differently");

  XboxGamepad without;
  cpd::TranslateReport(raw, snapshot, inputs, without, nullptr);
  Check(without == first.gamepad, "the state depends on whether pressed reads are listed");

  // Numbers beyond the counts read 0, so what lies there changes nothing.
  RawInputs beyond = raw;
  for (RawInputs::Kind* kind : {&beyond.axes, &beyond.buttons, &beyond.hats}) {
    for (auto i = static_cast<size_t>(kind->count); i < kind->values.size(); ++i) {
      kind->values[i] = 1;
    }
  }
  Check(Translate(beyond, snapshot, inputs).gamepad == first.gamepad,
        "a number beyond the count was read");

  for (RawInputs::Kind* kind : {&raw.axes, &raw.buttons, &raw.hats}) {
    kind->values.fill(0);
  }
  const Translation rest = Translate(raw, snapshot, inputs);
  Check(rest.gamepad == XboxGamepad{} && rest.pressed.empty(),
        "a reading at rest gives a state or lists a read");
}

// The name rules as this target knows them, to compare the choice against.
struct Rule {
  std::vector<const char*> substrings;
  cpd::MappingIndex layout;
};

const std::array<Rule, 6> RULES = {{
    {{"xbox"}, cpd::MAPPING_XBOX},
    {{"g5prp max se"}, cpd::MAPPING_XBOX},
    {{"switch"}, cpd::MAPPING_SWITCH_MOD1},
    {{"dualsense", "ps5", "ps4", "ps3"}, cpd::MAPPING_PS},
    {{"logitech cordless rumblepad"}, cpd::MAPPING_LOGIC},
    {{"mobapad pro-hd"}, cpd::MAPPING_ANDROID},
}};

cpd::MappingIndex LayoutByName(const std::string& name) {
  for (const Rule& rule : RULES) {
    for (const char* substring : rule.substrings) {
      if (name.find(substring) != std::string::npos) {
        return rule.layout;
      }
    }
  }
  return cpd::MAPPING_SWITCH_MOD1;
}

void CheckChoice(const std::string& name, uint32_t stored) {
  const std::string lower = cpd::LowerCased(name);
  Check(lower.size() == name.size(), "lower-casing changed the length");
  for (size_t i = 0; i < name.size(); ++i) {
    const char c = name[i];
    const char expected = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    Check(lower[i] == expected, "lower-casing changed a byte other than an ASCII capital");
  }

  for (const std::string& asked : {name, lower}) {
    const cpd::LayoutChoice choice = cpd::ChooseLayout(asked, stored);
    Check(cpd::IsLayoutKind(choice.layout), "the choice is not one of the six layouts");
    if (cpd::IsLayoutKind(stored)) {
      Check(choice.stored && choice.layout == stored && choice.ruleLine == nullptr,
            "a stored layout kind did not decide");
      continue;
    }
    Check(!choice.stored && choice.ruleLine != nullptr, "a name rule decided without a line");
    Check(choice.layout == LayoutByName(asked), "the choice is not the first matching rule's");
    const char* field = std::strstr(choice.ruleLine, "name[%s]");
    Check(field != nullptr && std::strchr(choice.ruleLine, '%') == field + 5 &&
              std::strchr(field + 6, '%') == nullptr,
          "a rule line without exactly one %s for the name");
  }
}

void CheckSummary(const std::string& name, Bytes& bytes) {
  cpd::ListedDevices listed;
  std::string expected;
  std::string sofar;
  const uint8_t entries = bytes.Byte() % 6U;
  for (uint8_t i = 0; i < entries; ++i) {
    if ((bytes.Byte() & 1U) != 0) {
      listed.emplace_back(std::nullopt);
      continue;
    }
    _CpdJoystickDeviceInfo info;
    info.vid = bytes.Word();
    info.pid = bytes.Word();
    info.index = bytes.Word();
    info.mappingIndex = bytes.Word();
    info.name = name.substr(0, bytes.Byte());
    const std::string alone = cpd::DevListSummary({info});
    Check(alone.size() >= 2 && alone.compare(0, 7, "{vid:0x") == 0 &&
              alone.compare(alone.size() - 2, 2, "};") == 0,
          "an entry is not braced");
    sofar += alone;
    expected += sofar;
    listed.emplace_back(info);
  }
  Check(cpd::DevListSummary(listed) == expected,
        "the summary does not repeat every entry so far after each one");
}

}  // namespace

// The input: flags, a layout kind, a stored choice (4 bytes), a name's length and the name, then
// bindings and chosen controls as the flags say, the counts, the readings and a device list.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Bytes bytes(data, size);
  const uint8_t flags = bytes.Byte();
  const uint8_t kind = bytes.Byte();
  const uint32_t stored = bytes.Long();
  const std::string name = bytes.Text(bytes.Byte());

  const std::map<InputId, InputBinding> bindings = BindingsFrom(flags, kind, bytes);
  const cpd::BindingSnapshot snapshot = cpd::SnapshotOf(bindings);
  const std::vector<InputId> inputs = InputsFrom(flags, bindings, bytes);

  RawInputs raw;
  raw.axes.count = raw.buttons.count = raw.hats.count = 5;
  cpd::ShapeRawInputs(snapshot, inputs, raw);
  CheckShape(snapshot, inputs, raw);
  if ((flags & CHOSEN_COUNTS) != 0) {
    for (RawInputs::Kind* each : {&raw.axes, &raw.buttons, &raw.hats}) {
      each->count = bytes.Byte() % (cpd::RAW_INPUT_CAPACITY + 1);
    }
  }
  // Readings as SDL gives them: axes are 16 bits, buttons and hats 8.
  for (int32_t& axis : raw.axes.values) {
    axis = static_cast<int16_t>(bytes.Word());
  }
  for (RawInputs::Kind* each : {&raw.buttons, &raw.hats}) {
    for (int32_t& value : each->values) {
      value = bytes.Byte();
    }
  }
  CheckTranslation(raw, snapshot, inputs);
  CheckChoice(name, stored);
  CheckSummary(name, bytes);
  return 0;
}
