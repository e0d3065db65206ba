#pragma once

/// Writes the archive that an offline build carries as a resource to `tempArchivePath`. False after
/// an ERROR line; a partly written file stays.
bool CheckAndExtractAppArchive();
