#pragma once

#include <windows.h>
#include <urlmon.h>

#include <initializer_list>
#include <string>

#include "diagnostics/ErrorReport.h"

enum Operation {
#define OPERATION(number, constant, text, english) constant = number,
#include "resources/Failures.def"
};

enum Stage {
#define STAGE(number, constant, text, english) constant = number,
#include "resources/Failures.def"
};

enum ErrorCode {
    ErrorNone = 0,
#define FAILURE(number, constant, text, english) constant = number,
#include "resources/Failures.def"
};

/// State of the one operation of a run. The operation writes it on its thread, the worker thread
/// or, in a console run, the main thread; the window polls `stage`, `position` and `errorCode`,
/// plain words, without a lock. It is also the status callback of the archive's download, and so
/// counts no references.
class CProgressObject : public IBindStatusCallback {
  public:
    CProgressObject();

    // IBindStatusCallback (DownloadArchive.cpp). Only OnProgress does anything.
    STDMETHODIMP QueryInterface(REFIID id, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;
    STDMETHODIMP OnStartBinding(DWORD reserved, IBinding* binding) override;
    STDMETHODIMP GetPriority(LONG* priority) override;
    STDMETHODIMP OnLowResource(DWORD reserved) override;
    /// Turns the byte counts of the archive's transfer into `position`, 5 to 70 per cent of the
    /// scale.
    STDMETHODIMP OnProgress(ULONG progress, ULONG progressMax, ULONG statusCode,
                            LPCWSTR statusText) override;
    STDMETHODIMP OnStopBinding(HRESULT result, LPCWSTR error) override;
    STDMETHODIMP GetBindInfo(DWORD* flags, BINDINFO* info) override;
    STDMETHODIMP OnDataAvailable(DWORD flags, DWORD size, FORMATETC* format,
                                 STGMEDIUM* medium) override;
    STDMETHODIMP OnObjectAvailable(REFIID id, IUnknown* object) override;

    /// Stops at the gate while the window asks whether to cancel, then notes the stage and logs it.
    void SetStage(int newStage);

    /// Notes a failure: first the thread's last error, then the text of operation, stage, error and
    /// details up to the first null. Does not end the operation; the last call of a run wins.
    void SetError(int code, std::initializer_list<const wchar_t*> details = {});

    /// Moves the bar to a whole percentage of its scale.
    void SetPercent(int percent);

    /// True when no worker thread was started, it was ended, or it has ended by itself.
    bool IsWorkerFinished() const;

    /// Stops a worker thread that still runs, wherever it is. What it had locked stays locked: the
    /// caller ends the process next, in a way that runs no code of the libraries.
    void TerminateWorker();

    /// The operations: plain sequences of steps that end at the first failure and have no result
    /// but `errorCode`. They block for the whole operation.
    ///
    /// Puts the server's or, in an offline build, the program's own archive in place as a version
    /// folder and starts the application (InstallApp.cpp).
    void InstallApp();
    /// Does the same with files that are already on the machine (UpdateApp.cpp).
    void UpdateApp();
    /// Removes all that can be removed (UninstallApp.cpp).
    void UninstallApp();

    /// Makes `extractDir` the version folder and keeps a former one as `backupFolder`. When a
    /// former folder cannot be renamed, goes on file by file and leaves `extractDir` where it is.
    /// 0, or -1 with SetError called and the former folder restored as far as possible
    /// (VersionFolder.cpp).
    int SwapAppFolder(const std::wstring& versionFolder, const std::wstring& backupFolder);

    /// Closes the running application through the starter, then ends what still runs, leaving out
    /// descendants named `excludeName` (AppControl.cpp).
    void CloseRunningApp(std::wstring excludeName);

    /// Starts the starter with `arguments` (may be null), the options of the run and the time of
    /// the start; does not wait (AppControl.cpp).
    void StartApp(const wchar_t* arguments);

    /// Starts the freshly installed application and waits, with a bound, until it is open
    /// (AppControl.cpp).
    void StartInstalledApp();

    /// Writes the start-menu shortcut: 0 or -1 (AppControl.cpp).
    int CreateAppShortcut();

    /// Set by whoever starts the operation, before it runs.
    int operation = OperationInstall;
    HANDLE workerThread = nullptr;
    /// A gate, not a lock: the window holds it while it asks whether to cancel.
    HANDLE stageMutex;
    int stage = StageNone;
    int errorCode = ErrorNone;
    int position = 0;
    int rangeMin = 0;
    int rangeMax = 100;
    /// Carries the failure to the instance that sends.
    ErrorReport report;
};

/// The only instance, never destroyed.
extern CProgressObject& progressObject;

/// The failure text: operation, stage, error and details, joined by " : ".
std::wstring ComposeFailureText(int operation, int stage, int code,
                                std::initializer_list<const wchar_t*> details);
