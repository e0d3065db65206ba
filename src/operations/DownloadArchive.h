#pragma once

class CProgressObject;
struct Manifest;

/// Place of the bar for `progress` of `progressMax` bytes (not 0): 5 to 70 per cent of the scale
/// from `rangeMin` to `rangeMax`.
int DownloadPosition(int rangeMin, int rangeMax, unsigned long progress, unsigned long progressMax);

/// Fetches the machine's archive into `tempArchivePath`, from the entry's second address and then
/// from its main one. 0, or -1 with SetError called. Blocks for the whole transfer.
int DownloadArchive(CProgressObject* progressObject, Manifest manifest);
