// The members of the configuration library's classes that the bridge itself provides. None of
// these classes carries data, so assignment copies nothing.
#include "cpd_joystick/sd_config.h"

namespace sd {

SDConfig& SDConfig::operator=(const SDConfig& /*other*/) {
  return *this;
}
SDConfig& SDConfig::operator=(SDConfig&& /*other*/) noexcept {
  return *this;
}

DMConfig& DMConfig::operator=(const DMConfig& /*other*/) {
  return *this;
}
DMConfig& DMConfig::operator=(DMConfig&& /*other*/) noexcept {
  return *this;
}

SDConfigService::SDConfigService() = default;
SDConfigService::SDConfigService(const SDConfigService& /*other*/) {}
SDConfigService::~SDConfigService() = default;
SDConfigService& SDConfigService::operator=(const SDConfigService& /*other*/) {
  return *this;
}

}  // namespace sd
