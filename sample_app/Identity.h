#pragma once

/// Who a sample program is, told from its own place alone, so that the same files serve any
/// product.

#include <string>

struct Identity {
    std::wstring name;           // of the product: the file name less its ending
    std::wstring path;           // of the running program
    std::wstring folder;         // the one it lies in
    std::wstring roamingFolder;  // the product's, in the roaming application data; may be missing
};

/// ending is what follows the product's name in the file's name, such as "Starter.exe"; a file name
/// without it gives an empty product name.
Identity GetIdentity(const wchar_t* ending);

/// The folder above, without a trailing backslash.
std::wstring GetParentFolder(const std::wstring& path);

/// Name of the event that asks the application installed in this folder to close.
std::wstring GetCloseEventName(const std::wstring& installFolder);

/// Tests ask for misbehaviour: by words, separated by commas, in the environment variable
/// SAMPLE_BEHAVIOUR, or by files of that name in the roaming folder. The words are
/// "stubborn" (the application does not close when asked), "silent" (the uninstall is not
/// answered) and "few" (the application runs as four processes instead of five).
bool HasBehaviour(const Identity& identity, const std::wstring& word);
