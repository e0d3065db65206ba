#include "kit/DisplayName.h"

#include <algorithm>
#include <cwctype>
#include <string_view>

#include "kit/Characters.h"
#include "kit/FileNames.h"

namespace {

// Leaves room for the folders around it within a path of 259 characters.
constexpr std::size_t longestName = 64;

// Names in lower case, each between two slashes, which no name can hold.
// Folders of a user's application data with programs in them:
constexpr std::wstring_view programFolders = L"/microsoft/packages/programs/temp/";
// Folders there with data alone:
constexpr std::wstring_view dataFolders =
    L"/application data/comms/connecteddevicesplatform/crashdumps/d3dscache/deployment/diagnostics"
    L"/elevateddiagnostics/history/identities/isolatedstorage/package cache/peerdistrepub"
    L"/placeholdertilelogofolder/publishers/temporary internet files/virtualstore/windows/";
// Programs of Windows, and those that lie beside the application's:
constexpr std::wstring_view programs =
    L"/applicationframehost/audiodg/cmd/conhost/csrss/cscript/ctfmon/dllhost/dwm/explorer/findstr"
    L"/fontdrvhost/iexplore/logonui/lsass/mmc/msedge/msedgewebview2/mshta/msiexec/notepad"
    L"/powershell/pwsh/reg/regedit/registry/regsvr32/rundll32/runtimebroker/schtasks/searchhost"
    L"/searchindexer/searchui/services/shellexperiencehost/sihost/smss/spoolsv"
    L"/startmenuexperiencehost/svchost/syspin/system/taskhostw/taskkill/tasklist/taskmgr"
    L"/textinputhost/timeout/uninstall/userinit/werfault/wininit/winlogon/wscript/";

bool Holds(std::wstring_view list, const std::wstring& part) {
    return list.find(part) != std::wstring_view::npos;
}

Failure JudgeUse(const std::wstring& name) {
    std::wstring beginning = L"/" + name;
    std::transform(beginning.begin(), beginning.end(), beginning.begin(), std::towlower);
    const std::wstring whole = beginning + L"/";
    if (Holds(programFolders, whole) || Holds(dataFolders, whole)) {
        return "expected another name: %LOCALAPPDATA% or %APPDATA% has a folder of the system "
               "with this one, which an uninstall would delete";
    }
    if (Holds(programFolders, beginning)) {
        return "expected another name: a folder of the system in %LOCALAPPDATA% begins with it, "
               "and the installer ends programs by the beginning of their path";
    }
    if (Holds(programs, whole)) {
        return "expected another name: a program of the system or of the setup has this one, and "
               "the installer ends processes by their name";
    }
    return {};
}

}  // namespace

Failure JudgeDisplayName(const std::wstring& name) {
    if (name.size() > longestName) {
        return "expected at most 64 characters";
    }
    if (IsBlank(name.front()) || IsBlank(name.back())) {
        return "expected a name with no blank at either end";
    }
    // The script that deletes the uninstaller would take what stands between two of them for a
    // variable.
    if (name.find(L'%') != std::wstring::npos) {
        return "expected a name with no percent sign";
    }
    if (const Failure expected = JudgeFileName(name)) {
        return expected;
    }
    // Persian and the languages of India write with the two joiners.
    if (std::any_of(name.begin(), name.end(), [](wchar_t character) {
            return IsUnseen(character) && character != 0x200C && character != 0x200D;
        })) {
        return "expected a name without characters that are not seen";
    }
    return JudgeUse(name);
}
