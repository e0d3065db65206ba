#include <pthread.h>

#include <csignal>
#include <cstdio>
#include <string>
#include <vector>

#include "Certificate.h"
#include "Options.h"
#include "Server.h"

namespace {

int Fail(const std::string& why) {
    std::fprintf(stderr, "devserver: %s\n", why.c_str());
    return 1;
}

void PrintFacts(const DevServer& server, const ServerSettings& settings) {
    const auto absolute = [](const std::filesystem::path& path) {
        return std::filesystem::absolute(path).lexically_normal().string();
    };
    std::printf("http 127.0.0.1:%d\n", server.HttpPort());
    if (settings.httpsPort) {
        std::printf("https 127.0.0.1:%d\n", server.HttpsPort());
        const auto& folder = settings.certificates;
        std::printf("certificate %s\n", absolute(CertificateDerFile(folder)).c_str());
        std::printf("certificate-pem %s\n", absolute(CertificatePemFile(folder)).c_str());
    }
    std::printf("reports %s\nready\n", absolute(settings.reports).c_str());
    std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    for (const std::string& argument : arguments) {
        if (argument == "--help" || argument == "-h") {
            std::fputs(UsageText(), stdout);
            return 0;
        }
    }
    ServerSettings settings;
    if (const std::string wrong = ParseOptions(arguments, settings); !wrong.empty()) {
        return Fail(wrong + "; see --help");
    }

    // Blocked before there are threads, so that only the wait below gets them.
    sigset_t ends;
    sigemptyset(&ends);
    sigaddset(&ends, SIGINT);
    sigaddset(&ends, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &ends, nullptr);

    DevServer server;
    if (const std::string wrong = server.Start(settings); !wrong.empty()) {
        return Fail(wrong);
    }
    PrintFacts(server, settings);
    int signal = 0;
    sigwait(&ends, &signal);
    server.Stop();
    return 0;
}
