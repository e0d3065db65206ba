#pragma once

/// Name of the program's section that is its load configuration; eight characters at most.
#define LOAD_CONFIG_SECTION ".loadcfg"
