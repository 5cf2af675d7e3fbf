// The product's RPC interface on the air in this process, at its endpoint and with everybody admitted.
#pragma once

namespace bench {

bool OpenProductEndpoint();

}  // namespace bench
