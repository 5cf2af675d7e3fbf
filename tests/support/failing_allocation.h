// Memory that runs short at a chosen moment. A program that links this has operators new of its own.
#pragma once

namespace support {

// So many allocations by the calling thread's operator new succeed from now on, then one throws std::bad_alloc, then
// all succeed again.
void FailAllocationAfter(int succeeding);

// All succeed again, also when the one that was to fail has not been asked for.
void EndFailingAllocation();

}  // namespace support
