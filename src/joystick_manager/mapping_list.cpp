// The layout catalogue offered to the host, and the host's choice of layout for one controller.
#include "common/log.h"
#include "joystick_manager/joystick_manager.h"
#include "joystick_mapping/mapping_index.h"

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
  // Staged: no controller is opened yet (the polling thread only waits to be stopped), so no
  // slot can be held and every request fails as it would for an empty slot. Looking the slot up,
  // recording the choice for the controller model and reinstalling its layout come with polling.
  const int32_t result = -1;
  CPD_LOG_ERROR("index[%d] mappingIndex[%d] setmapping failed", index, mappingIndex);
  return result;
}

}  // namespace cpd
