#include "support/ImportPatch.h"

#include <gtest/gtest.h>

#include "support/ImportSlot.h"

ImportPatch::ImportPatch(const char* library, const char* function, FARPROC replacement)
    : slot(FindImportSlot(library, function)) {
    if (slot == nullptr) {
        ADD_FAILURE() << "no import " << function << " of " << library;
        return;
    }
    original = *slot;
    WriteImportSlot(slot, replacement);
}

ImportPatch::~ImportPatch() {
    if (slot != nullptr)
        WriteImportSlot(slot, original);
}
