#include <cstdint>
#include <string>
#include <vector>

#include "kit/Console.h"
#include "kit/Files.h"
#include "kit/ProductFolder.h"
#include "kit/Command.h"
#include "kit/Stamp.h"

namespace {

constexpr const char* help =
    "stamp --base EXE --product DIR [--set KEY=VALUE]... [--archive ZIP] --out EXE\n"
    "stamp --check --product DIR [--set KEY=VALUE]... [--base EXE] [--archive ZIP]\n"
    "\n"
    "Makes a product's setup program: copies the base executable and writes the product's names,\n"
    "texts, picture, icon and version into the copy. --archive puts the application inside, which\n"
    "makes an offline setup. --set takes the place of what product.json says, for this setup "
    "alone.\n"
    "--check runs the checks alone and writes nothing.\n"
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

int Stamp(const Command& command, const StampJob& job, const std::wstring& folder,
          const Settings& settings, bool checkOnly) {
    Findings findings;
    const Product product = ReadProductFolder(folder, settings, findings);
    PrintFindings(findings);
    const Failure unfit = CheckStampJob(job);
    if (unfit) {
        PrintErrorLine("error: " + *unfit);
    }
    if (unfit || HasErrors(findings)) {
        return Fail(command, exitFailed, "nothing written; what stands above does not fit");
    }
    if (checkOnly) {
        PrintLine(Narrow(folder) + ": " + Narrow(product.identity.displayName) + " fits");
        return exitDone;
    }
    std::vector<StampedPart> parts;
    if (const Failure failure = StampProduct(job, product, parts)) {
        return Fail(command, exitFailed, *failure);
    }
    PrintParts(job, parts);
    return exitDone;
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
    StampJob job;
    std::wstring folder;
    Settings settings;
    Command command;
    command.name = "stamp";
    command.help = help;
    command.options = {PathOption(L"--base", job.base), PathOption(L"--archive", job.archive),
                       PathOption(L"--out", job.out), PathOption(L"--product", folder),
                       SetOption(settings)};
    command.judge = [&](bool checkOnly) -> Failure {
        if (folder.empty()) {
            return "--product is missing";
        }
        const bool lacks = !checkOnly && (job.base.empty() || job.out.empty());
        return lacks ? Failure("--base and --out are needed") : Failure();
    };
    command.run = [&](bool checkOnly) { return Stamp(command, job, folder, settings, checkOnly); };
    return RunCommand(command, count, arguments);
}
