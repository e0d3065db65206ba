#pragma once

#include <memory>
#include <string>
#include <vector>

#include "support/Replace.h"
#include "support/Scratch.h"

/// A scratch folder in which nothing pauses, asks or starts: that is noted, and answered as a
/// script tells. Both are written alike: the Shell's moves, copies and deletes, pauses of 100 ms,
/// questions: "mcd.?". In the script the number behind one is its result ("m32"; 1223: success with
/// aborted parts, 112: when the folder's "a" has moved); else the Shell works, and Retry is
/// pressed. Behind a "!" the held file is free. What is called "link" counts as a link, "cloud" as
/// kept in a cloud: this Windows tells no link's kind, and deletes the target's content with it.
class Scene : public ScratchFolder {
  public:
    explicit Scene(std::string script = {});

    const LogCapture log;
    std::string events;
    std::unique_ptr<HeldOpen> held;
    static inline int reports = 0;  ///< of the whole process

    int Note(char event);

    const std::string script;
    std::vector<Replaced> replaced;
};

/// Fills a folder: `a=text sub\b=more empty\=`, a file with its content each, or an empty folder.
void MakeTree(const std::wstring& folder, const std::wstring& tree);

/// The same of what the folder holds, in the system's order.
std::wstring ReadTree(const std::wstring& folder);
