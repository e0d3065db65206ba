#pragma once

#include <windows.h>

/// Where the loader keeps the address of a function that this process's executable calls by name;
/// null when it imports no such function. The page may be read-only.
FARPROC* FindImportSlot(const char* name);

/// The same by the function's address, as `&Sleep` gives it.
FARPROC* FindImportSlot(FARPROC function);

/// Stores an address in a slot, whatever the page's protection.
void WriteImportSlot(FARPROC* slot, FARPROC function);
