#pragma once

struct GlobalVars;

/// Reads an argument vector (element 0 is the program, and may be null) into the option fields of
/// `vars` and logs each finding. Flags are whole arguments, compared without case. It rejects
/// nothing: an unknown argument costs one WARN line. `vars.updateFilesPath` points into `arguments`
/// afterwards.
void ParseArguments(int count, wchar_t* const* arguments, GlobalVars& vars);

/// The same with the process's own argument vector.
void ParseCommandLine(GlobalVars& vars);

/// Reads the decimal number at the start of `text`, as wcstol does: leading white space and a sign
/// are accepted, what follows the digits is ignored. False, with `number` untouched, when there is
/// no digit or the value does not fit into 32 bits.
bool ParseNumber(const wchar_t* text, int& number);
