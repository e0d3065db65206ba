#include "operations/Progress.h"

#include <thread>

#include <gtest/gtest.h>

#include "support/Replace.h"
#include "support/Scratch.h"

TEST(CProgressObject, NamesOperationStageAndError) {
    const std::wstring paths = L" : Ошибка инициализации путей к файлам";
    const struct {
        int operation, stage, error;
        std::initializer_list<const wchar_t*> details;
        std::wstring line, message;
    } cases[] = {
        {0, 1, 3, {}, L"Установка : Загрузка файла манифеста...", paths},
        {0,
         9,
         17,
         {L"v", L"", L"w"},
         L"Установка : Установка завершена!",
         L" : Ошибка сохранения текущей версии приложения : v :  : w"},
        {1, 12, 3, {}, L"Удаление : Выполнение скрипта...", paths},
        {1, 16, 0, {}, L"Удаление : Удаление завершено!", L" : "},
        {2,
         18,
         12,
         {nullptr},
         L"Обновление : Процесс обновления приложения...",
         L" : Не указаны файлы обновления или они не существуют"},
        {2,
         26,
         10,
         {L"a", nullptr, L"b"},
         L"Обновление : Обновление завершено!",
         L" : Ошибка операций работы с реестром Windows : a"},
    };
    for (const auto& [operation, stage, error, details, line, message] : cases) {
        CProgressObject progress;
        progress.operation = operation;
        const LogCapture log;
        progress.SetStage(stage);
        EXPECT_EQ(progress.stage, stage);
        SetLastError(1234);
        progress.SetError(error, details);
        EXPECT_EQ(log.Lines(), L"INFO Progress DO: " + line + L"\n");
        EXPECT_EQ(progress.report.message, line + message);
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

struct Worker {
    HANDLE started = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    HANDLE end = CreateEventW(nullptr, TRUE, FALSE, nullptr);
};

DWORD WINAPI Work(void* worker) {
    return SignalObjectAndWait(static_cast<Worker*>(worker)->started,
                               static_cast<Worker*>(worker)->end, INFINITE, FALSE);
}

}  // namespace

TEST(CProgressObject, EndsOnlyAThreadThatRuns) {
    CProgressObject progress;
    EXPECT_TRUE(progress.IsWorkerFinished());
    for (const bool runs : {true, false}) {
        Worker worker;
        const HANDLE thread = CreateThread(nullptr, 0, Work, &worker, 0, nullptr);
        progress.workerThread = thread;
        // A thread that is ended before it has begun spoils the process on this Windows.
        EXPECT_EQ(WaitForSingleObject(worker.started, 10000), WAIT_OBJECT_0);
        if (!runs) {
            SetEvent(worker.end);
            EXPECT_EQ(WaitForSingleObject(thread, 10000), WAIT_OBJECT_0);
        }
        EXPECT_EQ(progress.IsWorkerFinished(), !runs);
        progress.TerminateWorker();
        EXPECT_EQ(WaitForSingleObject(thread, 10000), WAIT_OBJECT_0);
        EXPECT_EQ(progress.workerThread, runs ? nullptr : thread);
        EXPECT_TRUE(progress.IsWorkerFinished());
        for (const HANDLE handle : {thread, worker.started, worker.end}) {
            CloseHandle(handle);
        }
    }
}
