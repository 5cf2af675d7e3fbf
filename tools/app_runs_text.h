// Messages to app services and what became of them, made readable.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace tool {

// "hkd04a7event 32, data1 0x40000401, data2 0x00000000": the members as they come, the event in decimal. Anything that
// is no number of 32 bits shows as it is.
std::string MessageText(const nlohmann::ordered_json& message);

// One record of platform/host/link/app_service_log.h, without its time and process. Throws json's exception for one
// that is none.
std::string AppServiceRecordText(const nlohmann::ordered_json& record);

}  // namespace tool
