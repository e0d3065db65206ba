#include "preview/Record.h"

#include <nlohmann/json.hpp>

using Json = nlohmann::json;

namespace {

Json ToJson(const Picture& picture) {
    return {{"scene", picture.scene},      {"title", picture.title},   {"file", picture.file},
            {"width", picture.width},      {"height", picture.height}, {"texts", picture.texts},
            {"warnings", picture.warnings}};
}

Picture ToPicture(const Json& json) {
    return {json.at("scene"),  json.at("title"), json.at("file"),    json.at("width"),
            json.at("height"), json.at("texts"), json.at("warnings")};
}

}  // namespace

std::string FormatRecord(const Record& record) {
    Json pictures = Json::array();
    for (const Picture& picture : record.pictures) {
        pictures.push_back(ToJson(picture));
    }
    return Json({{"language", record.language}, {"pictures", pictures}}).dump(1);
}

bool ParseRecord(const std::string& json, Record& record) {
    try {
        const Json parsed = Json::parse(json);
        record.language = parsed.at("language");
        for (const Json& picture : parsed.at("pictures")) {
            record.pictures.push_back(ToPicture(picture));
        }
        return true;
    } catch (const Json::exception&) {
        return false;
    }
}
