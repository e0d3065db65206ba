#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "Client.h"
#include "ScratchFolder.h"

namespace {

/// Starts the program; its output, both kinds, goes to `output`.
pid_t StartProgram(std::vector<std::string> arguments, const std::filesystem::path& output) {
    const pid_t child = fork();
    if (child != 0)
        return child;
    if (std::freopen(output.c_str(), "w", stdout) == nullptr || dup2(1, 2) < 0)
        _exit(99);
    std::vector<char*> words{const_cast<char*>(DEVSERVER_PROGRAM)};
    for (std::string& argument : arguments)
        words.push_back(argument.data());
    words.push_back(nullptr);
    execv(DEVSERVER_PROGRAM, words.data());
    _exit(99);
}

/// The program's exit code; -1 when it does not end in time or by itself.
int ExitCode(pid_t child) {
    int status = 0;
    if (!WaitFor([&] { return waitpid(child, &status, WNOHANG) == child; })) {
        kill(child, SIGKILL);
        waitpid(child, &status, 0);
        return -1;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

int PortAfter(const std::string& output, const std::string& word) {
    const size_t at = output.find(word + " 127.0.0.1:");
    return at == std::string::npos ? 0 : std::atoi(output.c_str() + at + word.size() + 11);
}

TEST(Program, TellsItsFactsMisbehavesFromTheStartAndEndsOnSigterm) {
    const ScratchFolder scratch;
    const std::string root = scratch.path.string();
    WriteFile(scratch.path / "www/a", "content");
    const pid_t child = StartProgram(
        {root + "/www", "--port", "0", "--https-port", "0", "--reports", root + "/reports",
         "--fault", "path=/a,fault=refuse", "--fault", "path=/a,fault=stall"},
        scratch.path / "out");
    const auto output = [&] { return ReadFile(scratch.path / "out"); };
    EXPECT_TRUE(WaitFor([&] { return output().ends_with("\nready\n"); })) << output();
    EXPECT_NE(output().find("certificate " + root + "/reports/devserver.der\n"), std::string::npos);
    EXPECT_FALSE(ReadFile(scratch.path / "reports/devserver.der").empty());
    Client refused(PortAfter(output(), "http"));
    EXPECT_FALSE(refused.Ask("GET /a"));
    Client stalled(PortAfter(output(), "\nhttps"), root + "/reports/devserver.pem");
    EXPECT_TRUE(stalled.Ask("GET /a"));
    EXPECT_TRUE(WaitFor([&] {
        return output().find(" https GET /a stall 0\n") != std::string::npos;
    })) << output();
    kill(child, SIGTERM);
    EXPECT_EQ(ExitCode(child), 0);
}

TEST(Program, SaysInOneLineWhyItCannotStart) {
    const ScratchFolder scratch;
    const std::string root = scratch.path.string();
    const std::vector<std::string> cases[] = {{},
                                              {root + "/missing"},
                                              {root, root},
                                              {root, "--port"},
                                              {root, "--port", "65536"},
                                              {root, "--port", "12x"},
                                              {root, "--port", "9", "--https-port", "9"},
                                              {root, "--fault", "path=/a"},
                                              {root, "--prot", "0"}};
    for (const auto& arguments : cases) {
        EXPECT_EQ(ExitCode(StartProgram(arguments, scratch.path / "out")), 1);
        const std::string output = ReadFile(scratch.path / "out");
        EXPECT_TRUE(output.starts_with("devserver: ")) << output;
        EXPECT_EQ(output.find('\n'), output.size() - 1) << output;
    }
}

}  // namespace
