#pragma once

/// True when this 32-bit program runs on a 64-bit system. A system without the question's function
/// counts as a 32-bit one. Asked anew at each call.
bool Is64BitSystem();
