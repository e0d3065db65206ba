// make_products COUNT SAMPLE OUT: makes COUNT product folders, OUT\p1 and so on, with names in
// several scripts, random texts, pictures of random sizes and icons. SAMPLE is a product's folder
// whose texts they vary. The same call makes the same folders.
#include <windows.h>

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "kit/Console.h"
#include "kit/Files.h"
#include "kit/Folders.h"
#include "kit/Images.h"
#include "resources/WindowLayout.h"

namespace {

using Json = nlohmann::ordered_json;
/// The colour at x, y as 0xAARRGGBB.
using Paint = std::function<std::uint32_t(unsigned x, unsigned y)>;

constexpr const char* names[] = {
    "Northwind Notes", "Ünïque Näme", "Größenwahn",   "Северный ветер",     "例え アプリ",
    "中文 软件",       "한국 앱",     "हिंदी ऐप",      "تطبيق نور",          "Ελληνικό μενού",
    "İstanbul Işığı",  "Đường phố",   "Zażółć gęślą", "O'Neil (beta) + co", "Emoji 😀 Box"};

std::string MakePng(unsigned width, unsigned height, const Paint& paint) {
    Pixels pixels = {static_cast<int>(width), static_cast<int>(height), {}};
    for (unsigned y = 0; y < height; ++y) {
        for (unsigned x = 0; x < width; ++x) {
            pixels.rows.push_back(paint(x, y));
        }
    }
    return EncodePng(pixels, true);
}

/// Stripes of two colours, and noise in a third of the pictures, which does not pack.
Paint MakePaint(std::mt19937& random) {
    const std::uint32_t first = random() | 0xFF000000, second = random() | 0xFF000000;
    const unsigned width = random() % 60 + 1, slope = random() % 4;
    const bool isNoisy = random() % 3 == 0;
    return [=](unsigned x, unsigned y) {
        const std::uint32_t noise = isNoisy ? (x * 7919 + y * 104729) * 2654435761u >> 8 : 0;
        return ((x + y * slope) / width % 2 == 0 ? first : second) ^ noise;
    };
}

/// The field that the progress bar grows over, with its frame.
Paint WithTrack(const Paint& paint) {
    return [paint](unsigned x, unsigned y) {
        const unsigned column = x + 1 - barLeft, row = y + 1 - barTop;  // with the frame
        if (column >= 1 && column <= barTrackWidth && row >= 1 && row <= barHeight) {
            return 0xFFE5E7E3u;
        }
        return column < barTrackWidth + 2 && row < barHeight + 2 ? 0xFFBABCB9u : paint(x, y);
    };
}

void Put16(std::string& data, std::size_t value) {
    data += static_cast<char>(value);
    data += static_cast<char>(value >> 8);
}

void Put32(std::string& data, std::size_t value) {
    Put16(data, value);
    Put16(data, value >> 16);
}

std::string MakeIcon(const Paint& paint) {
    const std::vector<unsigned> sizes = {256, 64, 32, 16};
    std::string head, images;
    Put16(head, 0);
    Put16(head, 1);
    Put16(head, sizes.size());
    for (const unsigned size : sizes) {
        const std::string image = MakePng(size, size, paint);
        head += static_cast<char>(size);
        head += static_cast<char>(size);
        Put16(head, 0);
        Put16(head, 1);
        Put16(head, 32);
        Put32(head, image.size());
        Put32(head, 6 + 16 * sizes.size() + images.size());
        images += image;
    }
    return head + images;
}

void Write(const std::wstring& path, const std::string& content) {
    if (content.empty() || WriteWholeFile(path, content) != 0) {
        PrintErrorLine("make_products: cannot write " + Narrow(path));
        std::exit(1);
    }
}

std::string MakeGuid(std::mt19937& random) {
    std::string guid = "{00000000-0000-0000-0000-000000000000}";
    for (char& c : guid) {
        if (c == '0') {
            c = "0123456789ABCDEF"[random() % 16];
        }
    }
    return guid;
}

Json MakeIdentity(const std::string& name, const std::string& slug, std::mt19937& random) {
    const std::string host = slug + ".example";
    return {{"displayName", name},
            {"slug", slug},
            {"serverHost", host},
            {"serverPort", std::to_string(random() % 65535 + 1)},
            {"baseUrl", "https://" + host},
            {"pathPrefix", random() % 2 == 0 ? "" : "/" + slug},
            {"guid", MakeGuid(random)},
            {"supportAddress", "help@" + host},
            {"installerVersion", "1.2.3." + std::to_string(random() % 65536)}};
}

/// The sample's texts with some more words of the product's own language in each.
Json MakeTexts(Json texts, const std::string& name, std::mt19937& random) {
    for (auto& row : texts.items()) {
        for (auto& cell : row.value().items()) {
            std::string text = cell.value();
            for (unsigned words = random() % 4; words > 0; --words) {
                text += " " + name;
            }
            cell.value() = row.key() == "TextProductName" ? name : text;
        }
    }
    return texts;
}

void MakeProduct(const std::wstring& folder, unsigned number, const Json& texts) {
    std::mt19937 random(number);
    const std::string suffix = std::to_string(number);
    const std::string name = names[number % std::size(names)] + (" " + suffix);
    std::vector<std::wstring> made;
    MakeFolders(folder, made);
    Write(folder + L"\\product.json", MakeIdentity(name, "product-" + suffix, random).dump(2));
    Write(folder + L"\\texts.json", MakeTexts(texts, name, random).dump(2));
    const Paint paint = MakePaint(random);
    Write(folder + L"\\background.png",
          MakePng(500 + random() % 600, 254 + random() % 400, WithTrack(paint)));
    Write(folder + L"\\icon.ico", MakeIcon(paint));
    PrintLine(name);
}

}  // namespace

/// Prints the display names, in order.
int wmain(int count, wchar_t** arguments) {
    if (count != 4) {
        PrintErrorLine("make_products COUNT SAMPLE OUT");
        return 2;
    }
    std::string content;
    const std::wstring sample = FromHostPath(arguments[2]), out = FromHostPath(arguments[3]);
    if (ReadWholeFile(sample + L"\\texts.json", 1 << 20, content) != 0) {
        PrintErrorLine("make_products: no texts.json in " + Narrow(sample));
        return 1;
    }
    const Json texts = Json::parse(content);
    const unsigned wanted = std::wcstoul(arguments[1], nullptr, 10);
    for (unsigned number = 1; number <= wanted; ++number) {
        MakeProduct(out + L"\\p" + std::to_wstring(number), number, texts);
    }
    return 0;
}
