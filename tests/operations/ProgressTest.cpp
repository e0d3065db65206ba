#include "operations/Progress.h"

#include <thread>
#include <tuple>

#include <gtest/gtest.h>

#include "startup/GlobalVars.h"
#include "support/Replace.h"
#include "support/Scratch.h"

TEST(CProgressObject, NamesOperationStageAndError) {
    const struct {
        int operation, stage, error;
        std::initializer_list<const wchar_t*> details;
        const wchar_t *line, *message;
    } cases[] = {
        {0,
         1,
         3,
         {},
         L"Установка : Загрузка файла манифеста...",
         L" : Ошибка инициализации путей к файлам"},
        {0,
         2,
         5,
         {L"oldVer", L"1.2.3", L"newVer", L"1.2.3"},
         L"Установка : Проверка наличия установленной версии Lumentra...",
         L" : Установленная версия программы имеет такую же или более новую версию : oldVer : "
         L"1.2.3 : newVer : 1.2.3"},
        {0,
         9,
         17,
         {L"v"},
         L"Установка : Установка завершена!",
         L" : Ошибка сохранения текущей версии приложения : v"},
        {1,
         12,
         3,
         {},
         L"Удаление : Выполнение скрипта...",
         L" : Ошибка инициализации путей к файлам"},
        {1, 16, 1, {}, L"Удаление : Удаление завершено!", L" : Ошибка загрузки файла"},
        {2,
         18,
         12,
         {nullptr},
         L"Обновление : Процесс обновления приложения...",
         L" : Не указаны файлы обновления или они не существуют"},
        {2,
         22,
         7,
         {L"C:\\a.zip", nullptr, L"x"},
         L"Обновление : Распаковка файлов...",
         L" : Ошибка распаковки файлов : C:\\a.zip"},
        {2,
         26,
         10,
         {},
         L"Обновление : Обновление завершено!",
         L" : Ошибка операций работы с реестром Windows"},
    };
    for (const auto& [operation, stage, error, details, line, message] : cases) {
        CProgressObject progress;
        progress.operation = operation;
        const LogCapture log;
        progress.SetStage(stage);
        EXPECT_EQ(progress.stage, stage);
        SetLastError(1234);
        progress.SetError(error, details);
        EXPECT_EQ(log.Lines(), std::wstring(L"INFO Progress DO: ") + line + L"\n");
        EXPECT_EQ(progress.report.message, std::wstring(line) + message);
        EXPECT_EQ(progress.report.lastError, 1234u);
        EXPECT_EQ(progress.errorCode, error);
    }
}

TEST(CProgressObject, StopsAtTheGateBeforeTheStageChanges) {
    CProgressObject progress;
    const HANDLE reached = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    ASSERT_EQ(WaitForSingleObject(progress.stageMutex, 0), WAIT_OBJECT_0);
    {
        const Replaced wait = Replace("kernel32.dll", "WaitForSingleObject", WaitForSingleObject,
                                      [&](auto real, HANDLE object, DWORD limit) {
                                          if (object == progress.stageMutex) {
                                              EXPECT_EQ(limit, INFINITE);
                                              SetEvent(reached);
                                          }
                                          return real(object, limit);
                                      });
        std::thread worker([&] { progress.SetStage(3); });
        EXPECT_EQ(WaitForSingleObject(reached, 10000), WAIT_OBJECT_0);
        EXPECT_EQ(progress.stage, 0);
        ReleaseMutex(progress.stageMutex);
        worker.join();
    }
    EXPECT_EQ(progress.stage, 3);
    EXPECT_EQ(WaitForSingleObject(progress.stageMutex, 0), WAIT_OBJECT_0) << "the gate is shut";
    CloseHandle(reached);
}

namespace {

DWORD WINAPI WaitFor(void* event) {
    return WaitForSingleObject(event, INFINITE);
}

}  // namespace

TEST(CProgressObject, EndsOnlyAThreadThatRuns) {
    CProgressObject progress;
    EXPECT_TRUE(progress.IsWorkerFinished());
    for (const bool runs : {true, false}) {
        const HANDLE event = CreateEventW(nullptr, TRUE, !runs, nullptr);
        const HANDLE thread = CreateThread(nullptr, 0, WaitFor, event, 0, nullptr);
        progress.workerThread = thread;
        if (!runs) {
            EXPECT_EQ(WaitForSingleObject(thread, 10000), WAIT_OBJECT_0);
        }
        EXPECT_EQ(progress.IsWorkerFinished(), !runs);
        progress.TerminateWorker();
        EXPECT_EQ(WaitForSingleObject(thread, 10000), WAIT_OBJECT_0);
        EXPECT_EQ(progress.workerThread, runs ? nullptr : thread);
        EXPECT_TRUE(progress.IsWorkerFinished());
        CloseHandle(thread);
        CloseHandle(event);
    }
}

TEST(WorkerThreadProc, RunsTheOperation) {
    // An update without files ends before it touches anything.
    for (const auto& [operation, stage, error] : {std::tuple(2, 18, 12), std::tuple(3, 0, 0)}) {
        GlobalVars vars;
        CProgressObject progress;
        progress.vars = &vars;
        progress.operation = operation;
        progress.position = 7;
        for (CProgressObject* parameter : {static_cast<CProgressObject*>(nullptr), &progress}) {
            const HANDLE thread = CreateThread(nullptr, 0, WorkerThreadProc, parameter, 0, nullptr);
            EXPECT_EQ(WaitForSingleObject(thread, 10000), WAIT_OBJECT_0);
            CloseHandle(thread);
        }
        EXPECT_EQ(progress.stage, stage);
        EXPECT_EQ(progress.errorCode, error);
        EXPECT_EQ(progress.position, operation == 2 ? 0 : 7);
    }
}
