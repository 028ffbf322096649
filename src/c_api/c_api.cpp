// The C interface: each function checks what C cannot (null pointers, buffer sizes), forwards to
// the C++ function of the same stem, and copies C++ values into C storage.
#include <cstring>
#include <list>
#include <string>

#include "c_api/c_listener.h"
#include "common/error_lines.h"
#include "common/log.h"
#include "cpd_joystick/cpd_joystick.h"
#include "cpd_joystick/joystick_api.h"
#include "joystick_manager/joystick_manager.h"
#include "joystick_policy/joystick_policy.h"

namespace {

using cpd::capi::CListenerTable;

thread_local std::string tLastError;

// One call of the C interface: whatever error lines it logs become the thread's last error.
class CCall {
 public:
  CCall() { tLastError.clear(); }
  ~CCall() {
    tLastError = mCapture.Text();
    if (!tLastError.empty()) {
      tLastError.pop_back();  // the last line's break
    }
  }
  CCall(const CCall&) = delete;
  CCall& operator=(const CCall&) = delete;

 private:
  cpd::log::ErrorLineCapture mCapture;
};

// Copies `text` into a field of `size` bytes, always terminated, cutting before a UTF-8
// continuation byte so the field stays valid text. True when it had to be cut.
bool CopyText(const std::string& text, char* field, size_t size) {
  size_t length = text.size();
  const bool cut = length >= size;
  if (cut) {
    length = size - 1;
    while (length > 0 && (static_cast<unsigned char>(text[length]) & 0xC0U) == 0x80U) {
      --length;
    }
  }
  std::memcpy(field, text.data(), length);
  field[length] = '\0';
  return cut;
}

uint8_t CopyDevice(const _CpdJoystickDeviceInfo& from, cpd_joystick_device_info& to) {
  to = cpd_joystick_device_info{};
  to.vid = from.vid;
  to.pid = from.pid;
  to.index = from.index;
  to.mapping_index = from.mappingIndex;
  to.flag = from.flag;
  if (CopyText(from.name, to.name, sizeof to.name)) {
    to.truncated |= CPD_JOYSTICK_NAME_TRUNCATED;
  }
  if (CopyText(from.path, to.path, sizeof to.path)) {
    to.truncated |= CPD_JOYSTICK_PATH_TRUNCATED;
  }
  return to.truncated;
}

uint8_t CopyMapping(const _CpdJoystickMappingInfo& from, cpd_joystick_mapping_info& to) {
  to = cpd_joystick_mapping_info{};
  to.index = from.index;
  to.mapping_index = from.mappingIndex;
  if (CopyText(from.name, to.name, sizeof to.name)) {
    to.truncated |= CPD_JOYSTICK_NAME_TRUNCATED;
  }
  return to.truncated;
}

// Copies the first `capacity` records of `list` into `out` and returns the list's size; a
// buffer that is too small and a cut text are both logged, so neither passes silently. Sizes
// are logged as unsigned long because "%zu" is unknown to the Windows C runtime's printf.
template <typename Record, typename CRecord, typename Copy>
int32_t CopyList(const std::list<Record>& list, CRecord* out, size_t capacity, Copy copy) {
  size_t at = 0;
  for (const Record& record : list) {
    if (at == capacity) {
      break;
    }
    if (copy(record, out[at]) != 0) {
      CPD_LOG_ERROR("entry %lu: a text was cut to fit its field", static_cast<unsigned long>(at));
    }
    ++at;
  }
  if (capacity > 0 && list.size() > capacity) {
    CPD_LOG_ERROR("%lu entries, the buffer holds %lu: only those were copied",
                  static_cast<unsigned long>(list.size()), static_cast<unsigned long>(capacity));
  }
  return static_cast<int32_t>(list.size());
}

}  // namespace

extern "C" {

int32_t cpd_joystick_register(const cpd_joystick_listener* listener) {
  CCall call;
  if (listener == nullptr) {
    CPD_LOG_ERROR("null listener refused");
    return CPD_JOYSTICK_ERROR_ARGUMENT;
  }
  if (listener->on_data == nullptr || listener->on_dev_list_update == nullptr ||
      listener->on_event == nullptr) {
    CPD_LOG_ERROR("%p refused: on_data, on_dev_list_update and on_event must all be set",
                  static_cast<const void*>(listener));
    return CPD_JOYSTICK_ERROR_ARGUMENT;
  }
  CListenerTable& table = CListenerTable::Instance();
  if (cpd::JoystickManager::RegistrationRefused()) {
    return CListenerTable::RefuseRegister(table.Find(listener));
  }
  return table.Register(*listener);
}

int32_t cpd_joystick_unregister(const cpd_joystick_listener* listener) {
  CCall call;
  if (listener == nullptr) {
    CPD_LOG_ERROR("null listener refused");
    return CPD_JOYSTICK_ERROR_ARGUMENT;
  }
  CListenerTable& table = CListenerTable::Instance();
  if (cpd::JoystickManager::RegistrationRefused()) {
    return CListenerTable::RefuseUnregister(table.Find(listener));
  }
  return table.Unregister(listener);
}

int32_t cpd_joystick_get_dev_list(cpd_joystick_device_info* devices, size_t capacity) {
  CCall call;
  if (devices == nullptr && capacity > 0) {
    CPD_LOG_ERROR("null buffer refused for %lu entries", static_cast<unsigned long>(capacity));
    return CPD_JOYSTICK_ERROR_ARGUMENT;
  }
  return CopyList(JoysticAPI_GetDevList(), devices, capacity, CopyDevice);
}

int32_t cpd_joystick_get_mapping_list(cpd_joystick_mapping_info* mappings, size_t capacity) {
  CCall call;
  if (mappings == nullptr && capacity > 0) {
    CPD_LOG_ERROR("null buffer refused for %lu entries", static_cast<unsigned long>(capacity));
    return CPD_JOYSTICK_ERROR_ARGUMENT;
  }
  return CopyList(JoysticAPI_GetMappingList(), mappings, capacity, CopyMapping);
}

int32_t cpd_joystick_set_mapping(uint16_t index, uint16_t mapping_index) {
  CCall call;
  return JoysticAPI_SetMapping(index, mapping_index);
}

int32_t cpd_joystick_calibration(uint16_t index) {
  CCall call;
  return JoysticAPI_Calibration(index);
}

int32_t cpd_joystick_set_poll_interval(uint16_t milliseconds) {
  CCall call;
  return JoysticAPI_SetPollInterval(milliseconds) == 0 ? CPD_JOYSTICK_OK : CPD_JOYSTICK_ERROR;
}

int32_t cpd_joystick_set_vibration(uint16_t index, uint16_t low, uint16_t high) {
  CCall call;
  switch (JoysticAPI_SetVibration(index, low, high)) {
    case 0:
      return CPD_JOYSTICK_OK;
    case -2:
      return CPD_JOYSTICK_NO_MOTORS;
    default:
      return CPD_JOYSTICK_ERROR;
  }
}

int32_t cpd_joystick_unstored_choices(void) {
  const std::shared_ptr<cpd::JoystickPolicy> policy = cpd::JoystickPolicy::Existing();
  return policy != nullptr ? policy->UnstoredChanges() : 0;
}

const char* cpd_joystick_version(void) {
  return CPD_JOYSTICK_VERSION_TEXT;
}

const char* cpd_joystick_last_error(void) {
  return tLastError.c_str();
}

}  // extern "C"
