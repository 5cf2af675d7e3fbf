// Publishes where the service's files lie, for other programs that use the device utility library.
#pragma once

namespace Quorvex::PC::Hkd04a7::Service {

// Writes "InstPath" and "DllName" in both registry views, unless an installed version is recorded or the path is there
// already. A failure ends it silently; what is half written is completed at a later start.
void RegisterInstallLocation();

}  // namespace Quorvex::PC::Hkd04a7::Service
