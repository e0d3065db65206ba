#include <windows.h>

#include <algorithm>
#include <string>
#include <vector>

#include "kit/Console.h"
#include "kit/Files.h"
#include "kit/Folders.h"
#include "kit/Pack.h"

namespace {

constexpr int exitDone = 0, exitFailed = 1, exitUsage = 2;
constexpr std::size_t mostFindings = 40;

constexpr const char* help =
    "pack --product DIR --app FOLDER --out DIST [--arch x64|ia32]... [--base-url URL]\n"
    "     [--alt-url URL] [--base EXE] [--check]\n"
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
    "  --alt-url URL   a second such place, which is tried first\n"
    "  --base EXE      the setup without a product (default: setup_base.exe beside this program)\n"
    "  --check         check only, write nothing\n"
    "\n"
    "Exit code: 0 done, 1 something does not fit or failed, 2 wrong call.";

int Fail(int code, const std::string& text) {
    PrintErrorLine("pack: " + text);
    return code;
}

struct Call {
    PackJob job;
    bool checkOnly = false;
    bool wantsHelp = false;
};

/// Takes one option with its value. Returns false when there is none of this name.
bool TakeOption(const std::wstring& flag, const wchar_t* value, PackJob& job) {
    const struct {
        const wchar_t* flag;
        std::wstring* path;
    } paths[] = {{L"--base", &job.base},
                 {L"--product", &job.product},
                 {L"--app", &job.app},
                 {L"--out", &job.out}};
    for (const auto& option : paths) {
        if (flag == option.flag) {
            *option.path = FromHostPath(value);
            return true;
        }
    }
    if (flag == L"--arch")
        job.architectures.push_back(Narrow(value));
    else if (flag == L"--base-url")
        job.baseUrl = Narrow(value);
    else if (flag == L"--alt-url")
        job.altUrl = Narrow(value);
    else
        return false;
    return true;
}

/// Returns an empty text, or what is wrong with the call.
std::string ParseCall(int count, wchar_t** arguments, Call& call) {
    for (int i = 1; i < count; ++i) {
        const std::wstring argument = arguments[i];
        if (argument == L"--help" || argument == L"-h")
            call.wantsHelp = true;
        else if (argument == L"--check")
            call.checkOnly = true;
        else if (i + 1 == count)
            return "no value behind " + Narrow(argument) + ", or an unknown argument";
        else if (!TakeOption(argument, arguments[++i], call.job))
            return "unknown argument " + Narrow(argument);
    }
    if (call.job.product.empty() || call.job.app.empty() || call.job.out.empty())
        return "--product, --app and --out are needed";
    return {};
}

std::wstring DefaultBase() {
    std::wstring path(32768, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return ParentOf(path) + L"\\setup_base.exe";
}

void PrintFindings(const Findings& findings) {
    const std::size_t shown = std::min(findings.size(), mostFindings);
    for (std::size_t i = 0; i < shown; ++i)
        PrintErrorLine(FormatFinding(findings[i]));
    if (shown < findings.size())
        PrintErrorLine("... and " + std::to_string(findings.size() - shown) + " more");
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
    for (const std::string& arch : plan.architectures)
        what += " " + arch;
    return what;
}

void PrintFiles(const std::vector<PackedFile>& files) {
    std::size_t widest = 0;
    for (const PackedFile& file : files)
        widest = std::max(widest, Widen(file.path).size());
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
    if (!plan.altUrl.empty())
        PrintLine("  " + plan.altUrl + "/download/win/");
    PrintLine("  " + plan.baseUrl + "/download/win/");
}

int Run(const Call& call) {
    const ULONGLONG start = GetTickCount64();
    Findings findings;
    const PackPlan plan = CheckPack(call.job, findings);
    PrintFindings(findings);
    if (HasErrors(findings))
        return Fail(exitFailed, "nothing written; what stands above does not fit");
    if (call.checkOnly) {
        PrintLine(DescribeWhat(plan) + ": everything fits, nothing written");
        return exitDone;
    }
    std::vector<PackedFile> files;
    const std::string failure = MakePack(call.job, plan, files);
    if (!failure.empty())
        return Fail(exitFailed, failure + "; nothing published");
    const ULONGLONG tenths = (GetTickCount64() - start + 50) / 100;
    PrintLine(DescribeWhat(plan) + ", made in " + std::to_string(tenths / 10) + "." +
              std::to_string(tenths % 10) + " s:");
    PrintFiles(files);
    PrintHowToPublish(plan);
    return exitDone;
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
    Call call;
    call.job.base = DefaultBase();
    const std::string wrong = ParseCall(count, arguments, call);
    if (call.wantsHelp) {
        PrintLine(help);
        return exitDone;
    }
    if (!wrong.empty())
        return Fail(exitUsage, wrong + "; see pack --help");
    return Run(call);
}
