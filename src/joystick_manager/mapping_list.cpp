// The layout catalogue offered to the host, and the host's choice of layout for one controller.
#include <optional>

#include "common/log.h"
#include "joystick_manager/joystick_manager.h"
#include "joystick_mapping/identification.h"
#include "joystick_mapping/mapping_index.h"
#include "joystick_policy/joystick_policy.h"

namespace cpd {

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
  std::lock_guard<std::mutex> lock(mStateMutex);
  CPD_LOG_DEBUG("size[%d]", static_cast<int>(mMappingList.size()));
  return mMappingList;
}

int32_t JoystickManager::SetMapping(uint16_t index, uint16_t mappingIndex) {
  CPD_LOG_DEBUG("index[%d] mappingIndex[%d]", index, mappingIndex);
  int32_t result = -1;
  if (const std::optional<ModelIdentity> model = ModelInSlot(index)) {
    // The choice is remembered for the model before the kind is checked, so an unknown kind is
    // stored too; readers ignore kinds they do not know.
    if (const std::shared_ptr<JoystickPolicy> policy = JoystickPolicy::GetInstance()) {
      policy->SetMappingIndex(model->vid, model->pid, mappingIndex, model->name);
    }
    result = ApplyMapping(index, mappingIndex);
  }
  if (result >= 0) {
    return 0;
  }
  CPD_LOG_ERROR("index[%d] mappingIndex[%d] setmapping failed", index, mappingIndex);
  return result;
}

std::optional<JoystickManager::ModelIdentity> JoystickManager::ModelInSlot(uint16_t index) {
  std::lock_guard<std::mutex> lock(mStateMutex);
  for (const auto& entry : Joysticks) {
    const JoystickDevice& device = entry.second;
    if (device.slotIndex == static_cast<int32_t>(index)) {
      return ModelIdentity{device.vid, device.pid, device.name};
    }
  }
  return std::nullopt;
}

int32_t JoystickManager::ApplyMapping(uint16_t index, uint16_t mappingIndex) {
  std::lock_guard<std::mutex> lock(mStateMutex);
  for (auto& entry : Joysticks) {
    JoystickDevice& device = entry.second;
    if (device.slotIndex != static_cast<int32_t>(index)) {
      continue;
    }
    const int32_t result = ResetMapping(device, mappingIndex);
    if (result >= 0) {
      for (_CpdJoystickDeviceInfo& info : mDevList) {
        if (info.index == index) {
          info.mappingIndex = mappingIndex;
        }
      }
    }
    return result;
  }
  return -1;  // the controller left while its choice was being recorded
}

}  // namespace cpd
