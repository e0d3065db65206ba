#include <windows.h>

#include <gtest/gtest.h>

// A wide entry point, so that the program's own arguments are there as the product reads them.
int wmain(int argc, wchar_t** argv) {
    testing::InitGoogleTest(&argc, argv);
    // No box of the system stops a test.
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    return RUN_ALL_TESTS();
}
