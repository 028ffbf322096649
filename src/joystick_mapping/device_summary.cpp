#include "joystick_mapping/device_summary.h"

#include <iomanip>
#include <sstream>

namespace cpd {

std::string DevListSummary(const ListedDevices& listed) {
  std::string summary;
  std::ostringstream stream;
  for (const std::optional<_CpdJoystickDeviceInfo>& info : listed) {
    if (!info) {
      continue;
    }
    stream << "{vid:0x" << std::hex << std::setw(4) << std::setfill('0') << info->vid << " pid:0x"
           << std::setw(4) << std::setfill('0') << info->pid << " devname:" << info->name
           << " index:" << info->index << " mappingIndex:" << info->mappingIndex << "};";
    summary += stream.str();
  }
  return summary;
}

}  // namespace cpd
