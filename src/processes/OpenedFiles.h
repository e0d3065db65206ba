#pragma once

#include <string>

/// Who holds the files of a folder: every loaded module and every open file handle of any process
/// under it. One listing at a time.

/// A line for each hit, modules first; empty when nothing was found or could be asked. Blocks as
/// long as the walk over all handles of the machine takes. Failures only shorten the listing.
std::wstring GetOpenedFilesListing(const std::wstring& folder);

/// Lets this process open others', once in its life. The walk goes on without.
bool EnableDebugPrivilege();

/// Appends a line for each loaded module whose path contains `folder`, which is in lower case, or
/// its short or long form.
void EnumerateLoadedModules(const std::wstring& folder, std::wstring& listing);
