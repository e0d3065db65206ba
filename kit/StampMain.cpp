#include <cstdint>
#include <string>
#include <vector>

#include "kit/Console.h"
#include "kit/Files.h"
#include "kit/ProductFolder.h"
#include "kit/Program.h"
#include "kit/Stamp.h"

namespace {

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

void PrintParts(const StampJob& job, const std::vector<StampedPart>& parts) {
    PrintLine(Narrow(job.out));
    std::vector<StampedPart> rows = {{"base", ReadFileSize(job.base)}};
    rows.insert(rows.end(), parts.begin(), parts.end());
    rows.push_back({"in all", ReadFileSize(job.out)});
    for (const StampedPart& row : rows) {
        const std::string number = std::to_string(row.bytes);
        PrintLine("  " + row.name + std::string(22 - row.name.size() - number.size(), ' ') +
                  number + " bytes");
    }
}

int Stamp(const Program& program, const StampJob& job, const std::wstring& folder, bool checkOnly) {
    Findings findings;
    const Product product = ReadProductFolder(folder, findings);
    PrintFindings(findings);
    const std::string wrong = CheckStampJob(job);
    if (!wrong.empty()) {
        PrintErrorLine("error: " + wrong);
    }
    if (HasErrors(findings) || !wrong.empty()) {
        return Fail(program, exitFailed, "nothing written; what stands above does not fit");
    }
    if (checkOnly) {
        PrintLine(Narrow(folder) + ": " + Narrow(product.identity.displayName) + " fits");
        return exitDone;
    }
    std::vector<StampedPart> parts;
    const std::string failure = StampProduct(job, product, parts);
    if (!failure.empty()) {
        return Fail(program, exitFailed, failure);
    }
    PrintParts(job, parts);
    return exitDone;
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
    StampJob job;
    std::wstring folder;
    Program program;
    program.name = "stamp";
    program.help = help;
    program.options = {PathOption(L"--base", job.base), PathOption(L"--archive", job.archive),
                       PathOption(L"--out", job.out), PathOption(L"--product", folder)};
    program.judge = [&](bool checkOnly) {
        if (folder.empty()) {
            return std::string("--product is missing");
        }
        const bool lacks = !checkOnly && (job.base.empty() || job.out.empty());
        return std::string(lacks ? "--base and --out are needed" : "");
    };
    program.run = [&](bool checkOnly) { return Stamp(program, job, folder, checkOnly); };
    return RunProgram(program, count, arguments);
}
