#include <windows.h>

#include <algorithm>
#include <string>
#include <vector>

#include "kit/Console.h"
#include "kit/Files.h"
#include "kit/Folders.h"
#include "kit/Pack.h"
#include "kit/Command.h"

namespace {

constexpr const char* help =
    "pack --product DIR --app FOLDER --out DIST [--arch x64|ia32]... [--base-url URL]\n"
    "     [--alt-url URL] [--set KEY=VALUE]... [--base EXE]\n"
    "pack --check --product DIR --app FOLDER [--out DIST] ...\n"
    "\n"
    "Makes from an application's folder what a team publishes: the archive, the update manifest,\n"
    "the online and the offline setup, SHA256SUMS. A second call for another architecture adds to\n"
    "the first.\n"
    "\n"
    "  --product DIR   product.json, texts.json, background.png, icon.ico\n"
    "  --app FOLDER    the application: <displayName>Starter.exe, syspin.exe and\n"
    "                  resources/app/package.json, whose version is packed\n"
    "  --out DIST      the folder to publish; changed only when all has been made\n"
    "  --arch NAME     what the archive is for (default: what <displayName>.exe is); several\n"
    "                  offer the same folder to each\n"
    "  --base-url URL  where /download/win/... will lie for archives (default: baseUrl and\n"
    "                  pathPrefix of the product)\n"
    "  --alt-url URL   a second such place, which is tried first (default: altUrl of the product)\n"
    "  --set KEY=VALUE takes the place of what product.json says, for this pack alone\n"
    "  --base EXE      the setup without a product (default: setup_base.exe beside this program)\n"
    "  --check         check only, write nothing; without --out the place is left out\n"
    "\n"
    "Exit code: 0 done, 1 something does not fit or failed, 2 wrong call.";

std::wstring DefaultBase() {
    std::wstring path(32768, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return ParentOf(path) + L"\\setup_base.exe";
}

/// "12345678" as "12 345 678".
std::string GroupDigits(std::uint64_t number) {
    std::string digits = std::to_string(number);
    for (std::size_t place = digits.size(); place > 3;) {
        place -= 3;
        digits.insert(place, " ");
    }
    return digits;
}

std::string DescribeWhat(const PackPlan& plan) {
    std::string what = Narrow(plan.product.identity.displayName) + " " + plan.app.version;
    for (const std::string& arch : plan.architectures) {
        what += " " + arch;
    }
    return what;
}

void PrintFiles(const std::vector<PackedFile>& files) {
    std::size_t widest = 0;
    for (const PackedFile& file : files) {
        widest = std::max(widest, Widen(file.path).size());
    }
    for (const PackedFile& file : files) {
        const std::string number = GroupDigits(file.bytes);
        const std::size_t gap = widest - Widen(file.path).size() + 15 - number.size();
        PrintLine("  " + file.path + std::string(gap, ' ') + number + " bytes");
    }
}

void PrintHowToPublish(const PackPlan& plan) {
    PrintLine("To publish: copy the folder to a host for plain files, manifest.json last, so that");
    PrintLine("  " + plan.manifestUrl);
    PrintLine("is the manifest; archives are looked for under");
    if (!plan.altUrl.empty()) {
        PrintLine("  " + plan.altUrl + "/download/win/");
    }
    PrintLine("  " + plan.baseUrl + "/download/win/");
}

int Pack(const Command& command, const PackJob& job, bool checkOnly) {
    const ULONGLONG start = GetTickCount64();
    Findings findings;
    const PackPlan plan = CheckPack(job, findings);
    PrintFindings(findings);
    if (HasErrors(findings)) {
        return Fail(command, exitFailed, "nothing written; what stands above does not fit");
    }
    if (checkOnly) {
        PrintLine(DescribeWhat(plan) + ": everything fits, nothing written");
        return exitDone;
    }
    std::vector<PackedFile> files;
    if (const Failure failure = MakePack(job, plan, files)) {
        return Fail(command, exitFailed, *failure + "; nothing published");
    }
    const ULONGLONG tenths = (GetTickCount64() - start + 50) / 100;
    PrintLine(DescribeWhat(plan) + ", made in " + std::to_string(tenths / 10) + "." +
              std::to_string(tenths % 10) + " s:");
    PrintFiles(files);
    PrintHowToPublish(plan);
    return exitDone;
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
    PackJob job;
    job.base = DefaultBase();
    Command command;
    command.name = "pack";
    command.help = help;
    command.options = {PathOption(L"--base", job.base),
                       PathOption(L"--product", job.product),
                       PathOption(L"--app", job.app),
                       PathOption(L"--out", job.out),
                       {L"--arch",
                        [&](const std::wstring& name) {
                            job.architectures.push_back(Narrow(name));
                            return Failure();
                        }},
                       TextOption(L"--base-url", job.baseUrl),
                       TextOption(L"--alt-url", job.altUrl),
                       SetOption(job.settings)};
    command.judge = [&](bool checkOnly) -> Failure {
        if (job.product.empty() || job.app.empty()) {
            return "--product and --app are needed";
        }
        return !checkOnly && job.out.empty() ? Failure("--out is missing") : Failure();
    };
    command.run = [&](bool checkOnly) { return Pack(command, job, checkOnly); };
    return RunCommand(command, count, arguments);
}
