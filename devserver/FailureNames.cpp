#include "FailureNames.h"

#include <span>

namespace {

struct Name {
    const char* text;
    const char* english;
};

constexpr Name kOperations[] = {
    {"Установка", "install"}, {"Удаление", "uninstall"}, {"Обновление", "update"}};

constexpr Name kStages[] = {
    {"Процесс установки...", "beginning"},
    {"Загрузка файла манифеста...", "fetching the manifest"},
    {"Проверка наличия установленной версии Lumentra...", "comparing versions"},
    {"Загрузка файлов...", "fetching the archive"},
    {"Распаковка файлов...", "unpacking"},
    {"Установка файлов...", "placing files"},
    {"Регистрация Lumentra в реестре...", "registering"},
    {"Установка Lumentra в таскбар...", "pinning"},
    {"Запуск Lumentra...", "starting the application"},
    {"Установка завершена!", "finished"},
    {"Процесс удаления приложения...", "beginning"},
    {"Выполнение скрипта...", "application's own uninstall"},
    {"Удаление из таскбар...", "unpinning"},
    {"Удаление файлов...", "removing files"},
    {"Отмена регистрации в реестре...", "unregistering"},
    {"Удаление завершено!", "finished"},
    {"Процесс обновления приложения...", "beginning"},
    {"Проверка манифеста...", "reading the new version"},
    {"Проверка версии инсталера и загрузка новой версии если есть...", "comparing versions"},
    {"Проверка архива...", "checking the archive"},
    {"Установка приложения...", "placing files"},
    {"Обновление ключей реестра...", "registering"},
    {"Обновление завершено!", "finished"},
};

constexpr Name kFailures[] = {
    {"Ошибка загрузки файла", "1 download failed"},
    {"Ошибка обработки файла манифеста", "2 bad manifest"},
    {"Ошибка инициализации путей к файлам", "3 no paths"},
    {"Нет ссылки на дистрибутив для данной платформы", "4 no archive for this machine"},
    {"Установленная версия программы имеет такую же или более новую версию", "5 up to date"},
    {"Ошибка загрузки файлов приложения", "6 application's files not fetched"},
    {"Ошибка распаковки файлов", "7 unpacking failed"},
    {"Ошибка копирования файлов в каталог программы", "8 file not copied"},
    {"Ошибка переноса каталога программы", "9 version folder not placed"},
    {"Ошибка операций работы с реестром Windows", "10 registry entry not written"},
    {"Ошибка удаления файлов Lumentra", "11 files not removed"},
    {"Не указаны файлы обновления или они не существуют", "12 update files missing"},
    {"Файл манифеста приложения отсутствует", "13 application's manifest missing"},
    {"Ошибка выгрузки дистрибутива из ресурсов", "14 built-in archive not written"},
    {"Ошибка чтения файла текущей версии приложения", "15 version file not read"},
    {"Ошибка создания папки приложения", "16 install folder not made"},
    {"Ошибка сохранения текущей версии приложения", "17 version file not written"},
    // Those that belong to no operation.
    {"Отчет по процессам", "list of open files"},
    {"Ошибка установки AUMID", "application id not set"},
    {"Ошибка копирования и запуска копии uninstall.exe", "uninstaller's copy not started"},
    {"Error of CreateMainWindow", "window not made"},
    {"", "worker thread not started"},
};

const Name* FindName(std::span<const Name> names, const std::string& text) {
    for (const Name& name : names) {
        if (text == name.text) {
            return &name;
        }
    }
    return nullptr;
}

std::string Translate(std::span<const Name> names, const std::string& text) {
    const Name* name = FindName(names, text);
    return name != nullptr ? name->english : text;
}

}  // namespace

std::string NameOperation(const std::string& text) {
    return Translate(kOperations, text);
}

std::string NameStage(const std::string& text) {
    return Translate(kStages, text);
}

std::string NameFailure(const std::string& text) {
    return Translate(kFailures, text);
}

bool IsOperation(const std::string& text) {
    return FindName(kOperations, text) != nullptr;
}
