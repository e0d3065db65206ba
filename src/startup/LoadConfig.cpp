// What the loader reads of the program before anything of it runs. The linker leaves the header's
// entry for it empty; the kit sets it to this section when it stamps a product in.

#include <windows.h>
#include <stddef.h>

#include "resources/LoadConfigSection.h"

namespace {

// As long as the record was when the field got its use; 0 stands for what is so without a record.
struct LoadConfig {
    DWORD size = sizeof(LoadConfig);
    BYTE before[0x32]{};
    // The libraries that the program binds, and those that they bind in turn, come from the
    // system's folder only, not from that of downloads. Known since a later Windows 10, passed over
    // by older systems. SearchLibrariesInSystemFolderOnly does it for what is loaded afterwards.
    WORD dependentLoadFlags = LOAD_LIBRARY_SEARCH_SYSTEM32;
    BYTE behind[0x68]{};
};
static_assert(offsetof(LoadConfig, dependentLoadFlags) == 0x36 && sizeof(LoadConfig) == 0xA0);

}  // namespace

// By this name the linker is told to keep it (CMakeLists.txt).
extern "C" __attribute__((section(LOAD_CONFIG_SECTION))) const LoadConfig loadConfig{};
