#include "scenarios/Server.h"

#include <windows.h>
#include <wincrypt.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <sstream>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "scenarios/ScenarioRow.h"

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

// What the log holds before the scenario.
std::size_t logStart = 0;

}  // namespace

void TrustServer() {
    const std::string bytes = ReadFileText(PathOf("work\\certificate\\devserver.der"));
    const HCERTSTORE roots =
        CertOpenStore(CERT_STORE_PROV_SYSTEM_W, 0, 0, CERT_SYSTEM_STORE_CURRENT_USER, L"Root");
    EXPECT_TRUE(CertAddEncodedCertificateToStore(
        roots, X509_ASN_ENCODING, reinterpret_cast<const BYTE*>(bytes.data()),
        static_cast<DWORD>(bytes.size()), CERT_STORE_ADD_REPLACE_EXISTING, nullptr))
        << "the certificate cannot be trusted";
    CertCloseStore(roots, 0);
}

void ResetServer(const ScenarioRow& row) {
    const Places& places = GetPlaces(row.product);
    const std::wstring manifest = PathOf("work\\www\\download\\win\\manifest.json");
    fs::remove(manifest);
    if (row.manifest || !row.offered.empty()) {
        const std::string usual = R"({"version": ")" + row.offered +
                                  R"(", "windows": [{"arch": "x64", "url": "{server})" +
                                  row.archive + R"("}]})";
        WriteFileText(manifest, ExpandNames(row.manifest.value_or(usual), places));
    }
    std::string rules;
    for (const auto& [path, fault, count, to] : row.faults) {
        rules +=
            Json{
                {"path", path}, {"fault", fault}, {"count", count}, {"to", ExpandNames(to, places)}}
                .dump() +
            "\n";
    }
    WriteFileText(PathOf("work\\faults"), rules);
    logStart = ReadFileText(PathOf("work\\server.log")).size();
    RemoveTree(PathOf("work\\reports"));
    fs::create_directory(PathOf("work\\reports"));
}

Lines Requests(const std::vector<std::pair<std::string, int>>& answers) {
    Lines lines;
    for (const auto& [answer, count] : answers) {
        for (int i = 0; i < count; ++i) {
            lines.insert(lines.end(), {"https", "GET " + answer});
        }
    }
    return lines;
}

Lines SeenRequests() {
    Lines seen;
    std::istringstream log(ReadFileText(PathOf("work\\server.log")).substr(logStart));
    std::string number, time, scheme, method, path, result;
    for (std::string line; std::getline(log, line);) {
        std::istringstream(line) >> number >> time >> scheme >> method >> path >> result;
        if (method != "-") {
            seen.push_back((scheme == "https" ? "secure " : "") + method + " " + path + " " +
                           result);
            continue;
        }
        // One attempt that comes to nothing makes two connections.
        const std::string attempt = result == "tls-on-http" ? "https" : "no request";
        if (seen.empty() || seen.back() != attempt) {
            seen.push_back(attempt);
        }
    }
    // Reports come when they come.
    std::ranges::stable_partition(
        seen, [](const std::string& line) { return line.find("POST ") == std::string::npos; });
    return seen;
}

Lines ReceivedReports() {
    const std::set<fs::path> paths(fs::directory_iterator(PathOf("work\\reports")), {});
    Lines reports;
    for (const fs::path& path : paths) {
        if (path.extension() == L".txt") {
            reports.push_back(ReadFileText(path));
        }
    }
    return reports;
}
