#include "preview/ImportSlot.h"

#include <string.h>

namespace {

template <typename Record>
Record* At(DWORD offset) {
    return reinterpret_cast<Record*>(reinterpret_cast<BYTE*>(GetModuleHandleW(nullptr)) + offset);
}

template <typename Condition>
FARPROC* FindSlot(Condition isMeant) {
    const auto& headers = *At<IMAGE_NT_HEADERS>(At<IMAGE_DOS_HEADER>(0)->e_lfanew);
    // PE format: one descriptor for each library, an empty one ends the list. In each of them the
    // tables of names and of addresses run side by side.
    for (auto* entry = At<IMAGE_IMPORT_DESCRIPTOR>(
             headers.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress);
         entry->Name != 0; ++entry) {
        auto* name = At<IMAGE_THUNK_DATA>(entry->OriginalFirstThunk);
        for (auto* slot = At<FARPROC>(entry->FirstThunk); *slot != nullptr; ++slot, ++name) {
            if (isMeant(name->u1, slot)) {
                return slot;
            }
        }
    }
    return nullptr;
}

}  // namespace

FARPROC* FindImportSlot(const char* name) {
    return FindSlot([&](const auto& entry, FARPROC*) {
        return !IMAGE_SNAP_BY_ORDINAL(entry.Ordinal) &&
               strcmp(At<IMAGE_IMPORT_BY_NAME>(entry.AddressOfData)->Name, name) == 0;
    });
}

FARPROC* FindImportSlot(FARPROC function) {
    // A function that its header does not mark as imported is a jump in this executable: FF 25 and
    // the slot.
    FARPROC* jump = nullptr;
    memcpy(&jump, reinterpret_cast<const BYTE*>(function) + 2, sizeof jump);
    return FindSlot([&](const auto&, FARPROC* slot) { return *slot == function || slot == jump; });
}

void WriteImportSlot(FARPROC* slot, FARPROC function) {
    DWORD protection = 0;
    VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &protection);
    *slot = function;
    VirtualProtect(slot, sizeof *slot, protection, &protection);
}
