// The standard streams that the tool is started with.
#pragma once

namespace tool {

// For the beginning of the process. In the place of a standard stream that the starter has closed the next file would
// be opened, or the connection to the machine, and the output would go there. Opens what is missing so that reading
// finds the end, and writing fails and is reported.
void OpenStandardStreams();

}  // namespace tool
