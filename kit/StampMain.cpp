#include <cstdint>
#include <string>
#include <vector>

#include "kit/Console.h"
#include "kit/Files.h"
#include "kit/ProductFolder.h"
#include "kit/Stamp.h"

namespace {

constexpr int exitDone = 0, exitFailed = 1, exitUsage = 2;

constexpr const char* help =
    "stamp --base EXE --product DIR [--archive ZIP] --out EXE\n"
    "stamp --check --product DIR [--base EXE] [--archive ZIP]\n"
    "\n"
    "Makes a product's setup program: copies the base executable and writes the product's names,\n"
    "texts, picture, icon and version into the copy. --archive puts the application inside, which\n"
    "makes an offline setup. --check runs the checks alone and writes nothing.\n"
    "\n"
    "A product folder holds product.json, texts.json, background.png and icon.ico.\n"
    "Exit code: 0 done, 1 something does not fit or failed, 2 wrong call.";

int Fail(int code, const std::string& text) {
    PrintErrorLine("stamp: " + text);
    return code;
}

struct Call {
    StampJob job;
    std::wstring product;
    bool checkOnly = false;
    bool wantsHelp = false;
};

/// Returns an empty text, or what is wrong with the call.
std::string ParseCall(int count, wchar_t** arguments, Call& call) {
    const struct {
        const wchar_t* flag;
        std::wstring* value;
    } options[] = {{L"--base", &call.job.base},
                   {L"--archive", &call.job.archive},
                   {L"--out", &call.job.out},
                   {L"--product", &call.product}};
    for (int i = 1; i < count; ++i) {
        const std::wstring argument = arguments[i];
        if (argument == L"--help" || argument == L"-h")
            call.wantsHelp = true;
        else if (argument == L"--check")
            call.checkOnly = true;
        else {
            std::wstring* value = nullptr;
            for (const auto& option : options) {
                if (argument == option.flag)
                    value = option.value;
            }
            if (value == nullptr)
                return "unknown argument " + Narrow(argument);
            if (++i == count)
                return "no value behind " + Narrow(argument);
            *value = FromHostPath(arguments[i]);
        }
    }
    if (call.product.empty())
        return "--product is missing";
    if (!call.checkOnly && (call.job.base.empty() || call.job.out.empty()))
        return "--base and --out are needed";
    return {};
}

void PrintParts(const Call& call, const std::vector<StampedPart>& parts) {
    PrintLine(Narrow(call.job.out));
    std::vector<StampedPart> rows = {{"base", ReadFileSize(call.job.base)}};
    rows.insert(rows.end(), parts.begin(), parts.end());
    rows.push_back({"in all", ReadFileSize(call.job.out)});
    for (const StampedPart& row : rows) {
        const std::string number = std::to_string(row.bytes);
        PrintLine("  " + row.name + std::string(22 - row.name.size() - number.size(), ' ') +
                  number + " bytes");
    }
}

int Run(const Call& call) {
    Findings findings;
    const Product product = ReadProductFolder(call.product, findings);
    for (const Finding& finding : findings)
        PrintErrorLine(FormatFinding(finding));
    const std::string wrong = CheckStampJob(call.job);
    if (!wrong.empty())
        PrintErrorLine("error: " + wrong);
    if (HasErrors(findings) || !wrong.empty())
        return Fail(exitFailed, "nothing written; what stands above does not fit");
    if (call.checkOnly) {
        PrintLine(Narrow(call.product) + ": " + Narrow(product.identity.displayName) + " fits");
        return exitDone;
    }
    std::vector<StampedPart> parts;
    const std::string failure = StampProduct(call.job, product, parts);
    if (!failure.empty())
        return Fail(exitFailed, failure);
    PrintParts(call, parts);
    return exitDone;
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
    Call call;
    const std::string wrong = ParseCall(count, arguments, call);
    if (call.wantsHelp) {
        PrintLine(help);
        return exitDone;
    }
    if (!wrong.empty())
        return Fail(exitUsage, wrong + "; see stamp --help");
    return Run(call);
}
