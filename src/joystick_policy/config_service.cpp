// The members of the configuration library's classes that the bridge itself provides. None of
// these classes carries data, so assignment copies nothing.
#include "cpd_joystick/sd_config.h"

namespace sd {

SDConfig& SDConfig::operator=(const SDConfig& /*other*/) = default;
SDConfig& SDConfig::operator=(SDConfig&& /*other*/) noexcept = default;

DMConfig& DMConfig::operator=(const DMConfig& /*other*/) = default;
DMConfig& DMConfig::operator=(DMConfig&& /*other*/) noexcept = default;

SDConfigService::SDConfigService() = default;
SDConfigService::SDConfigService(const SDConfigService& /*other*/) = default;
SDConfigService::~SDConfigService() = default;
SDConfigService& SDConfigService::operator=(const SDConfigService& /*other*/) = default;

}  // namespace sd
