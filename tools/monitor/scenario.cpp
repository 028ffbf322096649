#include "scenario.h"

#include <fcntl.h>
#include <json/json.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <memory>
#include <set>
#include <system_error>
#include <tuple>

#include "pad_catalogue.h"

namespace monitor {

namespace {

constexpr int64_t LONGEST_TIME_MS = 24LL * 60 * 60 * 1000;
// A scenario is a few kilobytes; anything past these limits is not one.
constexpr int MAX_NESTING = 100;
constexpr size_t MAX_SCENARIO_BYTES = size_t{1024} * 1024;
// How long a pipe or device may take to deliver the whole scenario.
constexpr std::chrono::seconds READ_TIME_LIMIT{5};
constexpr int MAX_INPUT_INDEX = 255;
constexpr int MAX_AWAITED_DEVICES = 16;
constexpr int MAX_UINT16 = 65535;

struct KindKey {
  const char* key;
  StepKind kind;
};

constexpr std::array<KindKey, 7> ACTION_KEYS = {{
    {"plug", StepKind::PLUG},
    {"unplug", StepKind::UNPLUG},
    {"button", StepKind::BUTTON},
    {"axis", StepKind::AXIS},
    {"hat", StepKind::HAT},
    {"await_devices", StepKind::AWAIT_DEVICES},
    {"rumble", StepKind::RUMBLE},
}};

struct ValueRange {
  int low;
  int high;
};

// The keys each kind of step may carry besides "at" and its action key.
std::vector<std::string> AllowedKeys(StepKind kind) {
  switch (kind) {
    case StepKind::PLUG:
      return {"as", "path"};
    case StepKind::UNPLUG:
      return {};
    case StepKind::BUTTON:
    case StepKind::AXIS:
    case StepKind::HAT:
      return {"pad", "value", "for"};
    case StepKind::AWAIT_DEVICES:
      return {"timeout"};
    case StepKind::RUMBLE:
      return {"low", "high", "for"};
  }
  return {};
}

ValueRange RangeOf(StepKind kind) {
  switch (kind) {
    case StepKind::BUTTON:
      return {0, 1};
    case StepKind::AXIS:
      return {-32768, 32767};
    case StepKind::HAT:
      return {0, 15};
    default:
      return {0, 0};
  }
}

// Reads one step; throws the message (without its position) when the step is wrong.
class StepReader {
 public:
  explicit StepReader(const Json::Value& step) : mStep(step) {}

  ScenarioStep Read() {
    if (!mStep.isObject()) {
      throw std::runtime_error("is not an object");
    }
    ScenarioStep step;
    step.at = Milliseconds("at", true);
    step.kind = Kind();
    CheckKeys(step.kind);
    switch (step.kind) {
      case StepKind::PLUG:
        ReadPlug(step);
        break;
      case StepKind::UNPLUG:
        step.pad = Text("unplug");
        break;
      case StepKind::AWAIT_DEVICES:
        step.value = Integer("await_devices", {0, MAX_AWAITED_DEVICES});
        step.timeoutMs =
            mStep.isMember("timeout") ? Milliseconds("timeout", false) : DEFAULT_AWAIT_TIMEOUT_MS;
        break;
      case StepKind::RUMBLE:
        ReadRumble(step);
        break;
      default:
        ReadInput(step);
        break;
    }
    return step;
  }

  int64_t HoldFor() const { return mStep.isMember("for") ? Milliseconds("for", false) : 0; }

 private:
  StepKind Kind() const {
    const KindKey* chosen = nullptr;
    for (const KindKey& candidate : ACTION_KEYS) {
      if (mStep.isMember(candidate.key)) {
        if (chosen != nullptr) {
          throw std::runtime_error(std::string("has both \"") + chosen->key + "\" and \"" +
                                   candidate.key + "\"; one action per step");
        }
        chosen = &candidate;
      }
    }
    if (chosen == nullptr) {
      std::string keys;
      for (const KindKey& candidate : ACTION_KEYS) {
        keys += std::string(keys.empty() ? "\"" : ", \"") + candidate.key + "\"";
      }
      throw std::runtime_error("needs one of " + keys);
    }
    return chosen->kind;
  }

  void CheckKeys(StepKind kind) const {
    const std::vector<std::string> allowed = AllowedKeys(kind);
    for (const std::string& name : mStep.getMemberNames()) {
      const bool known = name == "at" || name == StepKindName(kind) ||
                         std::find(allowed.begin(), allowed.end(), name) != allowed.end();
      if (!known) {
        throw std::runtime_error("has an unknown key \"" + name + "\" for a " + StepKindName(kind) +
                                 " step");
      }
    }
  }

  void ReadPlug(ScenarioStep& step) const {
    step.model = Text("plug");
    if (sim::FindPadModel(step.model) == nullptr) {
      throw std::runtime_error("plugs an unknown pad \"" + step.model + "\" (known: " + PadKeys() +
                               ")");
    }
    step.pad = mStep.isMember("as") ? Text("as") : step.model;
    if (mStep.isMember("path")) {
      step.path = Text("path");
      if (step.path.front() != '/') {
        throw std::runtime_error("\"path\" must be an absolute path");
      }
    }
  }

  void ReadInput(ScenarioStep& step) const {
    step.index = Integer(StepKindName(step.kind), {0, MAX_INPUT_INDEX});
    if (!mStep.isMember("pad")) {
      throw std::runtime_error("needs \"pad\": the id of the pad whose input moves");
    }
    step.pad = Text("pad");
    if (!mStep.isMember("value")) {
      throw std::runtime_error("needs \"value\"");
    }
    step.value = Integer("value", RangeOf(step.kind));
  }

  void ReadRumble(ScenarioStep& step) const {
    step.index = Integer("rumble", {0, MAX_UINT16});
    for (const char* speed : {"low", "high"}) {
      if (!mStep.isMember(speed)) {
        throw std::runtime_error(std::string("needs \"") + speed + "\": a motor speed, 0 to " +
                                 std::to_string(MAX_UINT16));
      }
    }
    step.speeds = {static_cast<uint16_t>(Integer("low", {0, MAX_UINT16})),
                   static_cast<uint16_t>(Integer("high", {0, MAX_UINT16}))};
  }

  std::string Text(const char* key) const {
    const Json::Value& value = mStep[key];
    if (!value.isString() || value.asString().empty()) {
      throw std::runtime_error(std::string("\"") + key + "\" must be a non-empty string");
    }
    return value.asString();
  }

  int Integer(const char* key, ValueRange range) const {
    const Json::Value& value = mStep[key];
    if (!value.isInt() || value.asInt() < range.low || value.asInt() > range.high) {
      throw std::runtime_error(std::string("\"") + key + "\" must be a whole number from " +
                               std::to_string(range.low) + " to " + std::to_string(range.high));
    }
    return value.asInt();
  }

  int64_t Milliseconds(const char* key, bool zeroAllowed) const {
    const Json::Value& value = mStep[key];
    if (!mStep.isMember(key)) {
      throw std::runtime_error(std::string("needs \"") + key + "\" (milliseconds)");
    }
    if (!value.isInt64() || value.asInt64() < (zeroAllowed ? 0 : 1) ||
        value.asInt64() > LONGEST_TIME_MS) {
      throw std::runtime_error(std::string("\"") + key + "\" must be a whole number of " +
                               "milliseconds" + (zeroAllowed ? "" : " above 0") +
                               ", at most a day");
    }
    return value.asInt64();
  }

  const Json::Value& mStep;
};

// Follows which pads are plugged at each step, so a step can only name a pad that is there.
void CheckPads(const ScenarioStep& step, std::set<std::string>& plugged) {
  const bool isPlugged = plugged.count(step.pad) != 0;
  if (step.kind == StepKind::PLUG) {
    if (isPlugged) {
      throw std::runtime_error("plugs \"" + step.pad + "\", which is plugged already");
    }
    plugged.insert(step.pad);
  } else if (NamesAPad(step.kind) && !isPlugged) {
    throw std::runtime_error("names \"" + step.pad + "\", which is not plugged then");
  }
  if (step.kind == StepKind::UNPLUG) {
    plugged.erase(step.pad);
  }
}

struct Timed {
  ScenarioStep step;
  size_t order;
};

// Releases of held inputs go before the steps of the same moment, so a step that presses the
// same input again at that moment is not undone.
void SortByTime(std::vector<Timed>& timed) {
  std::stable_sort(timed.begin(), timed.end(), [](const Timed& left, const Timed& right) {
    return std::make_tuple(left.step.at, !left.step.release, left.order) <
           std::make_tuple(right.step.at, !right.step.release, right.order);
  });
}

std::vector<ScenarioStep> ReadSteps(const Json::Value& steps) {
  std::vector<Timed> timed;
  std::set<std::string> plugged;
  int64_t previous = 0;
  for (Json::ArrayIndex number = 0; number < steps.size(); ++number) {
    try {
      StepReader reader(steps[number]);
      ScenarioStep step = reader.Read();
      if (step.at < previous) {
        throw std::runtime_error("comes at " + std::to_string(step.at) +
                                 " ms, before the step above it");
      }
      previous = step.at;
      CheckPads(step, plugged);
      if (const int64_t hold = reader.HoldFor(); hold > 0) {
        ScenarioStep release = step;
        release.at = step.at + hold;
        release.value = 0;
        release.speeds = {};
        release.release = true;
        timed.push_back({release, timed.size()});
      }
      timed.push_back({step, timed.size()});
    } catch (const std::runtime_error& error) {
      throw std::runtime_error("step " + std::to_string(number + 1) + " " + error.what());
    }
  }
  SortByTime(timed);
  std::vector<ScenarioStep> ordered;
  ordered.reserve(timed.size());
  for (const Timed& entry : timed) {
    ordered.push_back(entry.step);
  }
  return ordered;
}

void CheckRootKeys(const Json::Value& root) {
  for (const std::string& name : root.getMemberNames()) {
    if (name != "description" && name != "steps" && name != "end") {
      throw std::runtime_error("unknown key \"" + name +
                               R"(" (a scenario has "description", "steps" and "end"))");
    }
  }
  if (root.isMember("description") && !root["description"].isString()) {
    throw std::runtime_error("\"description\" must be a string");
  }
  if (!root["steps"].isArray() || root["steps"].empty()) {
    throw std::runtime_error("needs \"steps\": a non-empty array of steps");
  }
}

Scenario ReadScenario(const Json::Value& root) {
  if (!root.isObject()) {
    throw std::runtime_error("a scenario is a JSON object with \"steps\"");
  }
  CheckRootKeys(root);
  Scenario scenario;
  scenario.description = root.get("description", "").asString();
  scenario.steps = ReadSteps(root["steps"]);
  const int64_t last = scenario.steps.back().at;
  scenario.endMs = last + DEFAULT_TAIL_MS;
  if (root.isMember("end")) {
    const Json::Value& end = root["end"];
    if (!end.isInt64() || end.asInt64() < last || end.asInt64() > LONGEST_TIME_MS) {
      throw std::runtime_error("\"end\" must be a whole number of milliseconds, not before the " +
                               std::string("last step (") + std::to_string(last) + " ms)");
    }
    scenario.endMs = end.asInt64();
  }
  return scenario;
}

bool ParseJson(const std::string& text, Json::Value& root, std::string& error) {
  Json::CharReaderBuilder builder;
  Json::CharReaderBuilder::strictMode(&builder.settings_);
  builder.settings_["allowComments"] = true;
  builder.settings_["stackLimit"] = MAX_NESTING;
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  std::string errors;
  try {
    if (reader->parse(text.data(), text.data() + text.size(), &root, &errors)) {
      return true;
    }
  } catch (const Json::Exception&) {
    // The reader gives up on deeper nesting by throwing instead of reporting.
    error = "not valid JSON: nested deeper than " + std::to_string(MAX_NESTING) + " levels";
    return false;
  }
  while (!errors.empty() && (errors.back() == '\n' || errors.back() == ' ')) {
    errors.pop_back();
  }
  std::replace(errors.begin(), errors.end(), '\n', ' ');
  error = "not valid JSON: " + errors;
  return false;
}

class Descriptor {
 public:
  explicit Descriptor(int fd) : mFd(fd) {}
  ~Descriptor() {
    if (mFd >= 0) {
      close(mFd);
    }
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int Get() const { return mFd; }

 private:
  int mFd;
};

// Reads the whole file, or fails with a message: a file that does not end within
// MAX_SCENARIO_BYTES (/dev/zero), or a pipe that delivers nothing within READ_TIME_LIMIT (a FIFO
// that nobody writes to), is not waited for. Opened without blocking, so that a FIFO without a
// writer does not hold up the open either.
bool ReadScenarioText(const std::string& path, std::string& text, std::string& error) {
  const Descriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  struct stat status {};
  if (file.Get() < 0 || fstat(file.Get(), &status) != 0) {
    error = "cannot read the scenario file";
    return false;
  }
  if (S_ISDIR(status.st_mode)) {
    error = "is a directory, not a scenario file";
    return false;
  }
  const auto deadline = std::chrono::steady_clock::now() + READ_TIME_LIMIT;
  std::array<char, 4096> buffer{};
  while (true) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    pollfd ready{file.Get(), POLLIN, 0};
    if (left.count() <= 0 || poll(&ready, 1, static_cast<int>(left.count())) == 0) {
      error = "nothing more to read after " + std::to_string(READ_TIME_LIMIT.count()) +
              " s (a pipe without a writer?)";
      return false;
    }
    const ssize_t got = read(file.Get(), buffer.data(), buffer.size());
    if (got == 0) {
      return true;
    }
    if (got < 0) {
      if (errno == EAGAIN || errno == EINTR) {
        continue;
      }
      error = "cannot read the scenario file: " +
              std::error_code(errno, std::generic_category()).message();
      return false;
    }
    text.append(buffer.data(), static_cast<size_t>(got));
    if (text.size() > MAX_SCENARIO_BYTES) {
      error =
          "longer than " + std::to_string(MAX_SCENARIO_BYTES / 1024) + " KiB, not a scenario file";
      return false;
    }
  }
}

}  // namespace

bool ParseScenario(const std::string& text, const std::string& origin, Scenario& scenario,
                   std::string& error) {
  Json::Value root;
  if (!ParseJson(text, root, error)) {
    error = origin + ": " + error;
    return false;
  }
  try {
    scenario = ReadScenario(root);
    return true;
  } catch (const std::runtime_error& failure) {
    error = origin + ": " + failure.what();
    return false;
  }
}

bool LoadScenarioFile(const std::string& path, Scenario& scenario, std::string& error) {
  std::string text;
  if (!ReadScenarioText(path, text, error)) {
    error = path + ": " + error;
    return false;
  }
  return ParseScenario(text, path, scenario, error);
}

bool NamesAPad(StepKind kind) {
  return kind != StepKind::AWAIT_DEVICES && kind != StepKind::RUMBLE;
}

const char* StepKindName(StepKind kind) {
  for (const KindKey& candidate : ACTION_KEYS) {
    if (candidate.kind == kind) {
      return candidate.key;
    }
  }
  return "?";
}

std::string DescribeStep(const ScenarioStep& step) {
  switch (step.kind) {
    case StepKind::PLUG:
      return "plug " + step.model + " as " + step.pad;
    case StepKind::UNPLUG:
      return "unplug " + step.pad;
    case StepKind::AWAIT_DEVICES:
      return "await " + std::to_string(step.value) + (step.value == 1 ? " device" : " devices");
    case StepKind::RUMBLE:
      return "rumble slot " + std::to_string(step.index) + ": low " +
             std::to_string(step.speeds.low) + ", high " + std::to_string(step.speeds.high);
    default:
      return step.pad + " " + StepKindName(step.kind) + " " + std::to_string(step.index) + " = " +
             std::to_string(step.value);
  }
}

}  // namespace monitor
