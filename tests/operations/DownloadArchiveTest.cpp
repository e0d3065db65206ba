#include <winsock2.h>
#include <windows.h>

#include <algorithm>
#include <string>
#include <thread>
#include <tuple>

#include <gtest/gtest.h>

#include "fs/Scene.h"
#include "operations/DownloadCallback.h"
#include "operations/Progress.h"
#include "services/Manifest.h"
#include "startup/PathBuffers.h"
#include "support/SetPath.h"

namespace {

// Serves one file over plain http on this machine; whatever is no GET is hung up on.
class FileServer {
  public:
    explicit FileServer(const std::string& content) : file(content) {
        WSADATA data;
        WSAStartup(MAKEWORD(2, 2), &data);
        listener = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in name{};
        name.sin_family = AF_INET;
        name.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        int size = sizeof name;
        bind(listener, reinterpret_cast<sockaddr*>(&name), size);
        listen(listener, 5);
        getsockname(listener, reinterpret_cast<sockaddr*>(&name), &size);
        address = "127.0.0.1:" + std::to_string(ntohs(name.sin_port)) + "/a.zip";
        thread = std::thread([this] { Serve(); });
    }
    ~FileServer() {
        closesocket(listener);
        thread.join();
        WSACleanup();
    }

    std::string address;

  private:
    void Serve() {
        const std::string answer = "HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: " +
                                   std::to_string(file.size()) + "\r\n\r\n" + file;
        SOCKET connection;
        while ((connection = accept(listener, nullptr, nullptr)) != INVALID_SOCKET) {
            // The whole request is read: closing on bytes that wait resets the connection, and a
            // transfer that is reset in the middle never ends.
            std::string request;
            char part[4096];
            for (int count = 1; count > 0 && !request.ends_with("\r\n\r\n");) {
                count = recv(connection, part, sizeof part, 0);
                request.append(part, std::max(count, 0));
                // Anything else is the beginning of https.
                count = request.starts_with("GET ") ? count : 0;
            }
            if (request.starts_with("GET ")) {
                send(connection, answer.data(), static_cast<int>(answer.size()), 0);
                shutdown(connection, SD_SEND);
                while (recv(connection, part, sizeof part, 0) > 0) {
                }
            }
            closesocket(connection);
        }
    }

    const std::string file;
    SOCKET listener;
    std::thread thread;
};

class DownloadArchiveTest : public testing::Test {
  protected:
    int Download(const std::string& url, const std::string& altUrl) {
        SetPath(tempArchivePath, scene / L"temp\\a.zip");
        Manifest manifest;
        manifest.entries = {{url, altUrl, "hash", ""}, {"//other", "", "", "arm64"}};
        return DownloadArchive(&progress, manifest);
    }

    const Scene scene;
    CProgressObject progress;
};

}  // namespace

TEST(DownloadPosition, GoesFrom5To70) {
    const struct {
        int rangeMax;
        unsigned long progress, progressMax;
        int expected;
    } cases[] = {
        {100, 0, 1, 5},
        {100, 100, 100, 70},
        {100, 99, 100, 69},
        {100, 5000000, 10000000, 37},
        {100, 99, 101, 5},
        {100, 101, 101, 70},
        {1299, 50, 100, 450},
        {99, 50, 100, 0},
        // The product takes all 32 bits.
        {100, 4000000000, 4000000000, 70},
    };
    for (const auto& [rangeMax, progress, progressMax, expected] : cases) {
        EXPECT_EQ(DownloadPosition(0, rangeMax, progress, progressMax), expected)
            << progress << " of " << progressMax;
    }
    CProgressObject progress;
    progress.position = 3;
    EXPECT_EQ(progress.OnProgress(7, 0, 0, nullptr), S_OK);
    EXPECT_EQ(progress.position, 3);
}

TEST_F(DownloadArchiveTest, FallsBackToTheMainAddress) {
    const std::string content(200000, 'z');
    const FileServer server(content);
    // The main address comes second, and is not needed when the other one answers.
    for (const auto& [url, altUrl, failures] :
         {std::tuple(std::string("https://nowhere.invalid/"), "x://" + server.address, 1),
          {server.address, "//127.0.0.1:1", 11}}) {
        progress.position = 0;
        const LogCapture log;
        EXPECT_EQ(Download(url, altUrl), 0);
        EXPECT_EQ(ReadFileText(tempArchivePath), content);
        EXPECT_EQ(progress.position, 70);
        EXPECT_EQ(log.Count(L"WARN Utils urlDownloadToFile: error: [0x800c0008] ...\n"), failures);
    }
    EXPECT_EQ(std::count(scene.pauses.begin(), scene.pauses.end(), 1000u), 4);
    EXPECT_EQ(progress.errorCode, 0);
}

TEST_F(DownloadArchiveTest, TellsWhyThereIsNoArchive) {
    // Only attempts that fail at once.
    const Replaced noNetwork = Replace("kernel32.dll", "GetProcAddress", GetProcAddress,
                                       [](auto, auto...) { return nullptr; });
    const struct {
        std::string url, altUrl;
        int error, attempts;
    } cases[] = {
        {"", "", 4, 0},
        {"//a", "//b", 1, 20},
        {"", "//b", 1, 20},
        {"//a", "", 1, 10},
        {std::string(1023, 'a'), "", 1, 10},
        {std::string(1024, 'a'), std::string(5000, 'b'), 1, 0},
    };
    for (const auto& [url, altUrl, error, attempts] : cases) {
        const LogCapture log;
        progress.errorCode = 0;
        EXPECT_EQ(Download(url, altUrl), -1);
        EXPECT_EQ(progress.errorCode, error);
        EXPECT_EQ(log.Count(L"INFO Utils urlDownloadToFile: http"), attempts);
        EXPECT_EQ(log.Count(L"ERROR Utils "), (attempts == 0 && error == 1 ? 2 : attempts / 10));
    }
    progress.errorCode = 0;
    EXPECT_EQ(DownloadArchive(&progress, Manifest()), -1);
    EXPECT_EQ(progress.errorCode, 4);
}
