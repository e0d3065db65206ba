# Static analysis at every compilation; a file that passed is looked at again when it, a header of it
# or a rule has changed.
set(CMAKE_CXX_CLANG_TIDY clang-tidy --quiet)
# The system's headers are not read, so missing ones say nothing. passedByValue: some published
# signatures do. noDestructor: a record that lives as long as the program. The dangling pointer it
# sees in every f(Text().c_str()) is none. normalCheckLevelMaxBranches: newer versions tell so that
# they have looked at a long function less closely.
set(CMAKE_CXX_CPPCHECK cppcheck --quiet --std=c++20 --inline-suppr --error-exitcode=1
    --enable=warning,performance,portability --suppress=missingInclude
    --suppress=missingIncludeSystem --suppress=unmatchedSuppression --suppress=passedByValue
    --suppress=noDestructor --suppress=danglingTemporaryLifetime
    --suppress=normalCheckLevelMaxBranches)
if(WIN32)
    list(APPEND CMAKE_CXX_CPPCHECK --platform=win32W --library=windows)
    # Clang's own headers take the place of the other compiler's, which hold its intrinsics.
    list(APPEND CMAKE_CXX_CLANG_TIDY --extra-arg-before=--target=i686-w64-mingw32)
    foreach(folder ${CMAKE_CXX_IMPLICIT_INCLUDE_DIRECTORIES})
        if(NOT folder MATCHES "/include(-fixed)?$" OR folder MATCHES "^/usr/i686")
            list(APPEND CMAKE_CXX_CLANG_TIDY --extra-arg=-isystem${folder})
        endif()
    endforeach()
else()
    list(APPEND CMAKE_CXX_CPPCHECK --platform=unix64)
endif()
# A changed rule is looked at by all.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/.clang-tidy)
file(SHA256 ${CMAKE_SOURCE_DIR}/.clang-tidy rules)
add_compile_definitions(TIDY_RULES="${rules}")
