#include "operations/Progress.h"

#include "base/Log.h"

namespace {

// The words of resources/Failures.def; a number without any has none.

const wchar_t* OperationText(int operation) {
    switch (operation) {
#define OPERATION(number, constant, text, english) \
    case number:                                   \
        return L##text;
#include "resources/Failures.def"
        default:
            return L"";
    }
}

const wchar_t* StageText(int stage) {
    switch (stage) {
#define STAGE(number, constant, text, english) \
    case number:                               \
        return L##text;
#include "resources/Failures.def"
        default:
            return L"";
    }
}

const wchar_t* FailureText(int code) {
    switch (code) {
#define FAILURE(number, constant, text, english) \
    case number:                                 \
        return L##text;
#include "resources/Failures.def"
        default:
            return L"";
    }
}

}  // namespace

CProgressObject& progressObject = *new CProgressObject;

CProgressObject::CProgressObject() : stageMutex(CreateMutexW(nullptr, FALSE, nullptr)) {}

void CProgressObject::SetStage(int newStage) {
    // The gate stands before the store: the stage that the window has seen stays the current one
    // until its question is answered.
    WaitForSingleObject(stageMutex, INFINITE);
    // Still inside, so that the window never asks about a stage that the operation has left.
    stage = newStage;
    ReleaseMutex(stageMutex);
    progressLog.Info(std::wstring(L"DO: ") + OperationText(operation) + L" : " +
                     StageText(newStage));
}

void CProgressObject::SetError(int code, std::initializer_list<const wchar_t*> details) {
    report.CaptureLastError();
    report.SetMessage(ComposeFailureText(operation, stage, code, details).c_str());
    errorCode = code;
}

void CProgressObject::SetPercent(int percent) {
    position = (rangeMax - rangeMin) / 100 * percent;
}

bool CProgressObject::IsWorkerFinished() const {
    return workerThread == nullptr || WaitForSingleObject(workerThread, 0) == WAIT_OBJECT_0;
}

void CProgressObject::TerminateWorker() {
    if (!IsWorkerFinished()) {
        TerminateThread(workerThread, 0);
        workerThread = nullptr;
    }
}

std::wstring ComposeFailureText(int operation, int stage, int code,
                                std::initializer_list<const wchar_t*> details) {
    std::wstring text = std::wstring(OperationText(operation)) + L" : " + StageText(stage) +
                        L" : " + FailureText(code);
    for (const wchar_t* detail : details) {
        if (detail == nullptr) {
            break;
        }
        text += std::wstring(L" : ") + detail;
    }
    return text;
}
