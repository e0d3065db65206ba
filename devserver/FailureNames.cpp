#include "FailureNames.h"

#include <span>

namespace {

struct Name {
    std::string text;
    std::string english;
};

const Name operations[] = {
#define OPERATION(number, constant, text, english) {text, english},
#include "resources/Failures.def"
};

const Name stages[] = {
#define STAGE(number, constant, text, english) {text, english},
#include "resources/Failures.def"
};

const Name failures[] = {
#define FAILURE(number, constant, text, english) {text, #number " " english},
#define LONE_FAILURE(constant, text, english) {text, english},
#include "resources/Failures.def"
};

std::string Translate(std::span<const Name> names, const std::string& text) {
    for (const Name& name : names) {
        if (text == name.text) {
            return name.english;
        }
    }
    return text;
}

}  // namespace

std::string NameOperation(const std::string& text) {
    return Translate(operations, text);
}

std::string NameStage(const std::string& text) {
    return Translate(stages, text);
}

std::string NameFailure(const std::string& text) {
    return Translate(failures, text);
}
