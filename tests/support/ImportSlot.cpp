#include "support/ImportSlot.h"

#include <string.h>

namespace {

template <typename Record>
Record* At(DWORD offset) {
    return reinterpret_cast<Record*>(reinterpret_cast<BYTE*>(GetModuleHandleW(nullptr)) + offset);
}

}  // namespace

FARPROC* FindImportSlot(const char* library, const char* function) {
    const auto& headers = *At<IMAGE_NT_HEADERS>(At<IMAGE_DOS_HEADER>(0)->e_lfanew);
    // PE format: one descriptor for each library, an empty one ends the list. In each of them the
    // tables of names and of addresses run side by side.
    for (auto* entry = At<IMAGE_IMPORT_DESCRIPTOR>(
             headers.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress);
         entry->Name != 0; ++entry) {
        if (library != nullptr && _stricmp(At<char>(entry->Name), library) != 0)
            continue;
        auto* name = At<IMAGE_THUNK_DATA>(entry->OriginalFirstThunk);
        auto* address = At<FARPROC>(entry->FirstThunk);
        for (; name->u1.AddressOfData != 0; ++name, ++address) {
            if (!IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal) &&
                strcmp(At<IMAGE_IMPORT_BY_NAME>(name->u1.AddressOfData)->Name, function) == 0)
                return address;
        }
    }
    return nullptr;
}

void WriteImportSlot(FARPROC* slot, FARPROC function) {
    DWORD protection = 0;
    VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &protection);
    *slot = function;
    VirtualProtect(slot, sizeof *slot, protection, &protection);
}
