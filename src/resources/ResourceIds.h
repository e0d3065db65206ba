#pragma once

/// Ids of the executable's resources. The program's own come from setup.rc; those of the product
/// are stamped into the finished executable (kit/), all under language 1049.

// String table, the product's identity.
#define IDS_DISPLAY_NAME 129
#define IDS_SLUG 130
#define IDS_SERVER_HOST 131
#define IDS_SERVER_PORT 132
#define IDS_BASE_URL 133
#define IDS_PATH_PREFIX 134
#define IDS_APP_GUID 135

// One pixel, stretched to the progress bar.
#define IDB_BAR 112
// The product's icon group.
#define IDI_PRODUCT 122
// The window's picture.
#define IDR_BACKGROUND 125
// The application's archive in an offline build.
#define IDR_ARCHIVE 199
// The text table (TextTableFormat.h).
#define IDR_TEXTS 1

#ifndef RC_INVOKED
// Types of the three.
constexpr wchar_t backgroundType[] = L"PNG";
constexpr wchar_t archiveType[] = L"DISTR";
constexpr wchar_t textsType[] = L"TEXTS";
#endif
