#include "preview/Page.h"

#include <algorithm>

namespace {

constexpr const char* head =
    "<!doctype html>\n"
    "<html lang=\"en\"><head><meta charset=\"utf-8\">\n"
    "<meta name=\"viewport\" content=\"width=device-width\">\n"
    "<style>\n"
    "body{font:15px/1.4 system-ui,sans-serif;margin:1.5rem;background:#e9eaec;color:#1b1d20}\n"
    "h2{margin:2rem 0 .5rem;font-size:1.1rem}\n"
    ".row{display:flex;flex-wrap:wrap;gap:1rem;align-items:flex-start}\n"
    "figure{margin:0;padding:.6rem;background:#fff;border-radius:4px;max-width:100%}\n"
    "figure.warn{outline:3px solid #c62828}\n"
    "img{display:block;max-width:100%;height:auto}\n"
    "figcaption{font-size:.8rem;max-width:30rem;padding-top:.4rem}\n"
    "figcaption p{margin:.1rem 0;color:#55585d}\n"
    "li,figcaption .w{color:#b3261e}\n"
    "select{font:inherit}\n"
    ".note{max-width:50rem;color:#55585d}\n"
    "</style>\n";

constexpr const char* note =
    "<p class=\"note\">The program's own window and boxes, in the fonts of the system that drew "
    "them. "
    "Another system has other fonts, so leave some room beside a text; a box grows with its text, "
    "and the buttons of boxes are labelled by the system. Texts are checked against their places, "
    "and the picture behind the two labels for a contrast of 4.5 or more against black.</p>\n";

constexpr const char* script =
    "<script>\n"
    "document.getElementById('only').addEventListener('change', function () {\n"
    "  for (const figure of document.querySelectorAll('figure'))\n"
    "    figure.hidden = this.value === 'warn' ? !figure.classList.contains('warn')\n"
    "                  : this.value !== '' && figure.lang !== this.value;\n"
    "});\n"
    "</script>\n";

std::string Escape(const std::string& text) {
    std::string escaped;
    for (const char character : text) {
        switch (character) {
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            case '"':
                escaped += "&quot;";
                break;
            default:
                escaped += character;
        }
    }
    return escaped;
}

const Picture* FindScene(const Record& record, const std::string& scene) {
    const auto found =
        std::find_if(record.pictures.begin(), record.pictures.end(),
                     [&scene](const Picture& picture) { return picture.scene == scene; });
    return found == record.pictures.end() ? nullptr : &*found;
}

std::string ComposeFigure(const std::string& language, const Picture& picture) {
    std::string figure =
        "<figure lang=\"" + language + "\"" + (picture.warnings.empty() ? "" : " class=\"warn\"") +
        "><img src=\"" + language + "/" + Escape(picture.file) + "\" width=\"" +
        std::to_string(picture.width) + "\" height=\"" + std::to_string(picture.height) +
        "\" loading=\"lazy\" alt=\"" + language + "\"><figcaption><b>" + language + "</b>";
    for (const std::string& warning : picture.warnings) {
        figure += "<p class=\"w\" lang=\"en\">" + Escape(warning) + "</p>";
    }
    for (const std::string& text : picture.texts) {
        figure += "<p dir=\"auto\">" + Escape(text) + "</p>";
    }
    return figure + "</figcaption></figure>\n";
}

std::string ComposeChoice(const std::vector<Record>& records) {
    std::string choice =
        "<p><label>Show <select id=\"only\"><option value=\"\">all languages</option>"
        "<option value=\"warn\">pictures with warnings</option>";
    for (const Record& record : records) {
        choice += "<option>" + record.language + "</option>";
    }
    return choice + "</select></label></p>\n";
}

// Adds a word to a list of words unless it is there.
void AddOnce(std::vector<std::string>& words, const std::string& word) {
    if (std::find(words.begin(), words.end(), word) == words.end()) {
        words.push_back(word);
    }
}

std::string Join(const std::vector<std::string>& words) {
    std::string joined;
    for (const std::string& word : words) {
        joined += (joined.empty() ? "" : ", ") + word;
    }
    return joined;
}

struct Occurrences {
    std::string warning;
    std::vector<std::string> languages;
    std::vector<std::string> scenes;
};

Occurrences& FindOrAdd(std::vector<Occurrences>& all, const std::string& warning) {
    const auto found = std::find_if(all.begin(), all.end(), [&warning](const Occurrences& known) {
        return known.warning == warning;
    });
    return found != all.end() ? *found : all.emplace_back(Occurrences{warning, {}, {}});
}

}  // namespace

std::vector<std::string> SummariseWarnings(const std::vector<Record>& records) {
    std::vector<Occurrences> all;
    for (const Record& record : records) {
        for (const Picture& picture : record.pictures) {
            for (const std::string& warning : picture.warnings) {
                Occurrences& occurrences = FindOrAdd(all, warning);
                AddOnce(occurrences.languages, record.language);
                AddOnce(occurrences.scenes, picture.scene);
            }
        }
    }
    std::vector<std::string> lines;
    for (const Occurrences& occurrences : all) {
        lines.push_back(Join(occurrences.languages) + ": " + Join(occurrences.scenes) + ": " +
                        occurrences.warning);
    }
    return lines;
}

std::string ComposePage(const std::string& productName, const std::vector<Record>& records) {
    const std::string title = Escape(productName) + ": window and boxes";
    std::string page = head;
    page += "<title>" + title + "</title></head><body>\n<h1>" + title + "</h1>\n";
    const std::vector<std::string> warnings = SummariseWarnings(records);
    page += warnings.empty() ? "<p>No warnings.</p>\n" : "<ul>\n";
    for (const std::string& warning : warnings) {
        page += "<li>" + Escape(warning) + "</li>\n";
    }
    page += warnings.empty() ? "" : "</ul>\n";
    page += note;
    page += ComposeChoice(records);
    for (const Picture& scene : records.front().pictures) {
        page += "<h2 id=\"" + scene.scene + "\">" + Escape(scene.title) +
                "</h2>\n<div class=\"row\">\n";
        for (const Record& record : records) {
            if (const Picture* picture = FindScene(record, scene.scene)) {
                page += ComposeFigure(record.language, *picture);
            }
        }
        page += "</div>\n";
    }
    return page + script + "</body></html>\n";
}
