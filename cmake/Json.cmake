# nlohmann-json is a header-only package of the build machine. Its folder must not reach the cross
# compiler, since the machine's own C headers lie beside it, so the headers are copied.
find_path(JSON_HEADERS nlohmann/json.hpp PATHS /usr/include /usr/local/include
    NO_CMAKE_FIND_ROOT_PATH REQUIRED)
file(COPY ${JSON_HEADERS}/nlohmann DESTINATION ${CMAKE_BINARY_DIR}/json)
add_library(json INTERFACE)
target_include_directories(json SYSTEM INTERFACE ${CMAKE_BINARY_DIR}/json)
