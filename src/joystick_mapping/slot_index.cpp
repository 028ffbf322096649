#include "joystick_mapping/slot_index.h"

#include "common/log.h"

namespace cpd {

// `list` and `path` are values: the open pass gives the lookup its own snapshot of the
// enumeration it is walking and of the device's path, and the slot table keeps a copy of the
// path anyway, so nothing here refers back to the caller's objects.
// NOLINTBEGIN(performance-unnecessary-value-param)
int32_t UpdateJoyStickIndex(std::map<int32_t, std::string>& slotPaths, JoystickList list,
                            std::string path) {
  // NOLINTEND(performance-unnecessary-value-param)
  for (const auto& [index, slotPath] : slotPaths) {
    if (slotPath == path) {
      return index;
    }
  }
  for (auto& [index, slotPath] : slotPaths) {
    if (list.count(slotPath) == 0) {
      const std::string oldPath = slotPath;
      slotPath = path;
      CPD_LOG_DEBUG("joystick update index[%d] path[%s] old[%s]\n", index, path.c_str(),
                    oldPath.c_str());
      return index;
    }
  }
  // The next slot is the table's size, not the lowest free number; the two agree because no
  // entry is ever removed.
  const auto next = static_cast<int32_t>(slotPaths.size());
  if (next < JOYSTICK_MAX_NUM) {
    slotPaths[next] = path;
    CPD_LOG_DEBUG("joystick index[%d] path[%s]\n", next, path.c_str());
    return next;
  }
  CPD_LOG_DEBUG("joystick count > JOYSTICK_MAX_NUM[4] path[%s]\n", path.c_str());
  return -1;
}

}  // namespace cpd
