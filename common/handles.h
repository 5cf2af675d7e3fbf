// One alias for each kind of platform resource that the product owns.
#pragma once

#include "common/unique_resource.h"
#include "platform/handles.h"
#include "platform/memory.h"
#include "platform/processes.h"
#include "platform/registry.h"
#include "platform/security.h"
#include "platform/services.h"

namespace Quorvex::PC::Common {

using UniqueHandle = UniqueResource<NullableCloser<HANDLE, CloseHandle>>;
using UniqueRegistryKey = UniqueResource<NullableCloser<HKEY, RegCloseKey>>;
using UniqueServiceHandle = UniqueResource<NullableCloser<SC_HANDLE, CloseServiceHandle>>;
using UniqueSid = UniqueResource<NullableCloser<PSID, FreeSid>>;
using UniqueSidText = UniqueResource<NullableCloser<LPWSTR, LocalFree>>;
using UniqueAcl = UniqueResource<NullableCloser<PACL, LocalFree>>;
using UniqueEnvironmentBlock = UniqueResource<NullableCloser<LPVOID, DestroyEnvironmentBlock>>;

}  // namespace Quorvex::PC::Common
