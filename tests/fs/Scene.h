#pragma once

#include <windows.h>
#include <shellapi.h>

#include <memory>
#include <string>
#include <vector>

#include "support/Replace.h"
#include "support/Scratch.h"

/// A scratch folder in which nothing pauses, asks or starts: that is answered, and noted.
class Scene {
  public:
    /// An answer that lets the Shell work.
    static constexpr int real = -1;
    static constexpr int never = 1000;

    /// One answer for each of the first operations of the Shell, later ones are real; one for each
    /// question, and the scene's end fails the test when another number was asked.
    explicit Scene(std::vector<int> shellAnswers = {}, std::vector<int> userAnswers = {});
    ~Scene();

    std::wstring operator/(const std::wstring& name) const;
    /// Holds a file open until that pause or question; pause 0 holds nothing.
    void Hold(const std::wstring& name, int lastPause, int lastQuestion = never);
    /// The log as "start|5*WARN again: #32|": files are named below the scene's folder, "#" and a
    /// code stand for its ErrorText, the level INFO and the name of the file functions' log go.
    std::wstring Log() const;

    const ScratchFolder folder;
    const LogCapture log;
    /// The Shell's moves, copies and deletes, pauses of 100, 400 and 1000 ms, questions: "mcd.~-?".
    std::string events;
    /// Command lines, "hidden " before those that get no window; their number over the whole life
    /// of the process.
    std::vector<std::wstring> started;
    static int startedEver;
    std::unique_ptr<HeldOpen> held;

  private:
    void NoteShell(const SHFILEOPSTRUCTW& record);

    std::size_t operations = 0;
    int pauses = 0;
    std::size_t asked = 0;
    int freeingPause = never;
    int freeingQuestion = never;
    const std::vector<int> answers;
    std::vector<Replaced> replaced;
};

/// Fills a folder: `a=text sub\b=more empty\=`, a file with its content each, or an empty folder.
void MakeTree(const std::wstring& folder, const std::wstring& tree);

/// The same of what the folder holds, in the system's order. Entries begin with `below`.
std::wstring ReadTree(const std::wstring& folder, const std::wstring& below = {});

/// Lets the entries of that name be taken for links of that kind (IO_REPARSE_TAG_...): this Windows
/// tells no link's kind, and deletes the target's content when it is to delete one.
[[nodiscard]] Replaced FakeLink(const std::wstring& name, DWORD tag);
