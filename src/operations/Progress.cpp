#include "operations/Progress.h"

#include "diagnostics/Log.h"

namespace {

const wchar_t* const operationNames[] = {L"Установка", L"Удаление", L"Обновление"};

const wchar_t* const stageTexts[] = {
    L"Процесс установки...",
    L"Загрузка файла манифеста...",
    L"Проверка наличия установленной версии Lumentra...",
    L"Загрузка файлов...",
    L"Распаковка файлов...",
    L"Установка файлов...",
    L"Регистрация Lumentra в реестре...",
    L"Установка Lumentra в таскбар...",
    L"Запуск Lumentra...",
    L"Установка завершена!",
    L"",
    L"Процесс удаления приложения...",
    L"Выполнение скрипта...",
    L"Удаление из таскбар...",
    L"Удаление файлов...",
    L"Отмена регистрации в реестре...",
    L"Удаление завершено!",
    L"",
    L"Процесс обновления приложения...",
    L"Проверка манифеста...",
    L"Проверка версии инсталера и загрузка новой версии если есть...",
    L"Проверка архива...",
    L"Распаковка файлов...",
    L"Установка приложения...",
    L"Обновление ключей реестра...",
    L"Запуск Lumentra...",
    L"Обновление завершено!",
    L"",
};

const wchar_t* const errorTexts[] = {
    L"",
    L"Ошибка загрузки файла",
    L"Ошибка обработки файла манифеста",
    L"Ошибка инициализации путей к файлам",
    L"Нет ссылки на дистрибутив для данной платформы",
    L"Установленная версия программы имеет такую же или более новую версию",
    L"Ошибка загрузки файлов приложения",
    L"Ошибка распаковки файлов",
    L"Ошибка копирования файлов в каталог программы",
    L"Ошибка переноса каталога программы",
    L"Ошибка операций работы с реестром Windows",
    L"Ошибка удаления файлов Lumentra",
    L"Не указаны файлы обновления или они не существуют",
    L"Файл манифеста приложения отсутствует",
    L"Ошибка выгрузки дистрибутива из ресурсов",
    L"Ошибка чтения файла текущей версии приложения",
    L"Ошибка создания папки приложения",
    L"Ошибка сохранения текущей версии приложения",
    L"",
    L"",
};

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
    progressLog.Info(std::wstring(L"DO: ") + operationNames[operation] + L" : " +
                     stageTexts[newStage]);
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

DWORD WINAPI WorkerThreadProc(void* parameter) {
    if (auto* progress = static_cast<CProgressObject*>(parameter)) {
        switch (progress->operation) {
            case OperationInstall:
                progress->InstallApp();
                break;
            case OperationUninstall:
                progress->UninstallApp();
                break;
            case OperationUpdate:
                progress->UpdateApp();
                break;
        }
    }
    ExitThread(0);
}

std::wstring ComposeFailureText(int operation, int stage, int code,
                                std::initializer_list<const wchar_t*> details) {
    std::wstring text = std::wstring(operationNames[operation]) + L" : " + stageTexts[stage] +
                        L" : " + errorTexts[code];
    for (const wchar_t* detail : details) {
        if (detail == nullptr) {
            break;
        }
        text += std::wstring(L" : ") + detail;
    }
    return text;
}
