#include "support/ImportSlot.h"

#include <string.h>

namespace {

BYTE* ImageBase() {
    return reinterpret_cast<BYTE*>(GetModuleHandleW(nullptr));
}

// PE format: the tables of names and of addresses run side by side.
FARPROC* FindInLibrary(const IMAGE_IMPORT_DESCRIPTOR& entry, const char* function) {
    BYTE* base = ImageBase();
    auto* name = reinterpret_cast<const IMAGE_THUNK_DATA*>(base + entry.OriginalFirstThunk);
    auto* address = reinterpret_cast<IMAGE_THUNK_DATA*>(base + entry.FirstThunk);
    for (; name->u1.AddressOfData != 0; ++name, ++address) {
        if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal)) {
            continue;
        }
        const auto* byName =
            reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + name->u1.AddressOfData);
        if (strcmp(reinterpret_cast<const char*>(byName->Name), function) == 0) {
            return reinterpret_cast<FARPROC*>(&address->u1.Function);
        }
    }
    return nullptr;
}

}  // namespace

FARPROC* FindImportSlot(const char* library, const char* function) {
    BYTE* base = ImageBase();
    const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* nt = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
    const DWORD imports =
        nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    // PE format: one descriptor for each library; an empty one ends the list.
    auto* entry = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + imports);
    for (; entry->Name != 0; ++entry) {
        const char* name = reinterpret_cast<const char*>(base + entry->Name);
        if (library != nullptr && _stricmp(name, library) != 0) {
            continue;
        }
        if (FARPROC* slot = FindInLibrary(*entry, function)) {
            return slot;
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
