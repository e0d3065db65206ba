#include "scenarios/Server.h"

#include <winsock2.h>
#include <windows.h>
#include <wincrypt.h>

#include <algorithm>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "scenarios/MachineState.h"
#include "scenarios/Prepared.h"
#include "support/Scratch.h"

namespace {

using Json = nlohmann::json;

std::wstring ManifestPath() {
    return GetPrepared().folder + L"\\www\\download\\win\\manifest.json";
}

// One request to the server's control interface; gives the body of the answer.
std::string AskServer(const std::string& method, const std::string& path, const std::string& body) {
    static const bool started = [] {
        WSADATA data;
        return WSAStartup(MAKEWORD(2, 2), &data) == 0;
    }();
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<u_short>(GetPrepared().port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const SOCKET connection = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    if (!started ||
        connect(connection, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        ADD_FAILURE() << "the server does not answer";
        return {};
    }
    const std::string request = method + " " + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\n" +
                                "Content-Length: " + std::to_string(body.size()) +
                                "\r\nConnection: close\r\n\r\n" + body;
    send(connection, request.data(), static_cast<int>(request.size()), 0);
    std::string answer;
    char block[4096];
    for (int got; (got = recv(connection, block, sizeof block, 0)) > 0;) {
        answer.append(block, got);
    }
    closesocket(connection);
    EXPECT_TRUE(answer.starts_with("HTTP/1.1 20")) << method << " " << path << ": " << answer;
    return answer.substr(std::min(answer.size(), answer.find("\r\n\r\n") + 4));
}

// Sorted by age.
std::vector<std::wstring> ReportFiles(const std::wstring& ending) {
    std::vector<std::wstring> paths;
    const std::wstring folder = GetPrepared().folder + L"\\reports";
    for (const WIN32_FIND_DATAW& entry : ListFolder(folder)) {
        if (!IsFolder(entry) && std::wstring(entry.cFileName).ends_with(ending)) {
            paths.push_back(folder + L"\\" + entry.cFileName);
        }
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

std::string DescribeRequest(const Json& entry) {
    const std::string method = entry.value("method", "");
    const std::string fault = entry.value("fault", "");
    if (method.empty()) {
        return fault == "tls-on-http" ? "https" : fault;
    }
    return (entry.value("scheme", "") == "https" ? "secure " : "") + method + " " +
           entry.value("target", "") + " " +
           (fault.empty() ? std::to_string(entry.value("status", 0)) : fault);
}

}  // namespace

void TrustServer() {
    const std::string bytes = ReadFileText(GetPrepared().folder + L"\\certificate\\devserver.der");
    const HCERTSTORE roots =
        CertOpenStore(CERT_STORE_PROV_SYSTEM_W, 0, 0, CERT_SYSTEM_STORE_CURRENT_USER, L"Root");
    EXPECT_TRUE(CertAddEncodedCertificateToStore(
        roots, X509_ASN_ENCODING, reinterpret_cast<const BYTE*>(bytes.data()),
        static_cast<DWORD>(bytes.size()), CERT_STORE_ADD_REPLACE_EXISTING, nullptr))
        << "the certificate cannot be trusted";
    CertCloseStore(roots, 0);
}

void ResetServer() {
    AskServer("POST", "/_control/reset", "");
    DeleteFileW(ManifestPath().c_str());
    for (const std::wstring& path : ReportFiles(L"")) {
        DeleteFileW(path.c_str());
    }
}

std::string ServerUrl(const std::string& file) {
    return "http://127.0.0.1:" + std::to_string(GetPrepared().port) + "/" + file;
}

std::string SecureUrl(const std::string& file) {
    return "https://127.0.0.1:" + std::to_string(GetPrepared().securePort) + "/" + file;
}

void PublishManifest(const std::string& text) {
    WriteFileText(ManifestPath(), text);
}

std::string MakeManifest(const std::string& version, const std::string& url,
                         const std::string& altUrl) {
    Json entry = {{"arch", "x64"}, {"url", url}};
    if (!altUrl.empty()) {
        entry["altUrl"] = altUrl;
    }
    return Json{{"version", version}, {"windows", {entry}}}.dump();
}

void PublishVersion(const std::string& version, const std::string& archive) {
    PublishManifest(MakeManifest(version, ServerUrl(archive)));
}

void AddFault(const std::string& path, const std::string& fault, int count) {
    AskServer("POST", "/_control/fault",
              Json{{"path", path}, {"fault", fault}, {"count", count}}.dump());
}

std::vector<std::string> SeenRequests() {
    std::vector<std::string> seen;
    const Json log = Json::parse(AskServer("GET", "/_control/log", ""), nullptr, false);
    EXPECT_TRUE(log.is_array()) << log.dump();
    for (const Json& entry : log.is_array() ? log : Json::array()) {
        const std::string line = DescribeRequest(entry);
        // One attempt that comes to nothing makes two connections.
        const bool isRequest = line.find('/') != std::string::npos;
        if (isRequest || seen.empty() || seen.back() != line) {
            seen.push_back(line);
        }
    }
    return seen;
}

std::vector<std::string> ReceivedReports() {
    std::vector<std::string> reports;
    for (const std::wstring& path : ReportFiles(L".txt")) {
        reports.push_back(ReadFileText(path));
    }
    return reports;
}
