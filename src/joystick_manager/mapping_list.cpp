// The layout catalogue offered to the host, and the host's choice of layout for one controller.
#include <optional>

#include "common/log.h"
#include "joystick_manager/joystick_manager.h"
#include "joystick_mapping/identification.h"
#include "joystick_mapping/mapping_index.h"
#include "joystick_policy/joystick_policy.h"

namespace cpd {

namespace {

uint32_t ModelKey(uint16_t vid, uint16_t pid) {
  return (static_cast<uint32_t>(vid) << 16U) | pid;
}

}  // namespace

void JoystickManager::BuildMappingList() {
  std::list<_CpdJoystickMappingInfo> catalogue;
  _CpdJoystickMappingInfo info;
  for (MappingIndex kind = MAPPING_FIRST; kind <= MAPPING_LAST; ++kind) {
    info.index = kind;
    info.mappingIndex = kind;
    info.name = MappingIndexToString(kind);
    catalogue.push_back(info);
  }
  std::lock_guard<std::mutex> lock(mStateMutex);
  mMappingList = std::move(catalogue);
}

std::list<_CpdJoystickMappingInfo> JoystickManager::GetMappingList() {
  std::list<_CpdJoystickMappingInfo> catalogue;
  {
    std::lock_guard<std::mutex> lock(mStateMutex);
    catalogue = mMappingList;
  }
  CPD_LOG_DEBUG("size[%d]", static_cast<int>(catalogue.size()));
  return catalogue;
}

// The slot is looked up once; the layout is built on a copy of that record, outside the state
// lock because installing a layout logs to the host's sink, and the result goes back only to the
// same model in the same slot.
int32_t JoystickManager::SetMapping(uint16_t index, uint16_t mappingIndex) {
  CPD_LOG_DEBUG("index[%d] mappingIndex[%d]", index, mappingIndex);
  int32_t result = -1;
  if (std::optional<JoystickDevice> device = DeviceInSlot(index)) {
    // Only a layout kind is remembered: an unknown one would replace the user's last valid
    // choice for the model. It still goes to ResetMapping, which refuses it with its own line.
    if (IsLayoutKind(mappingIndex)) {
      if (const std::shared_ptr<JoystickPolicy> policy = JoystickPolicy::GetInstance()) {
        policy->SetMappingIndex(device->vid, device->pid, mappingIndex, device->name);
        std::lock_guard<std::mutex> lock(mStateMutex);
        ++mChoicesByModel[ModelKey(device->vid, device->pid)];
      }
    }
    result = ResetMapping(*device, mappingIndex);
    if (result >= 0 && !InstallMapping(index, *device)) {
      result = -1;
    }
  }
  if (result >= 0) {
    return 0;
  }
  CPD_LOG_ERROR("index[%d] mappingIndex[%d] setmapping failed", index, mappingIndex);
  return result;
}

uint64_t JoystickManager::ChoicesRecordedFor(uint16_t vid, uint16_t pid) const {
  const auto found = mChoicesByModel.find(ModelKey(vid, pid));
  return found != mChoicesByModel.end() ? found->second : 0;
}

std::optional<JoystickDevice> JoystickManager::DeviceInSlot(uint16_t index) {
  std::lock_guard<std::mutex> lock(mStateMutex);
  for (const auto& entry : Joysticks) {
    if (entry.second.slotIndex == static_cast<int32_t>(index)) {
      return entry.second;
    }
  }
  return std::nullopt;
}

bool JoystickManager::InstallMapping(uint16_t index, const JoystickDevice& changed) {
  std::lock_guard<std::mutex> lock(mStateMutex);
  for (auto& entry : Joysticks) {
    JoystickDevice& device = entry.second;
    if (device.slotIndex != static_cast<int32_t>(index)) {
      continue;
    }
    if (device.vid != changed.vid || device.pid != changed.pid) {
      return false;
    }
    device.mapping = changed.mapping;
    ++mMappingVersion;
    if (mRunListed) {
      PublishDevList();
    }
    return true;
  }
  return false;
}

}  // namespace cpd
