// make_products COUNT SAMPLE OUT: makes COUNT product folders, OUT\p1 and so on, with names in
// several scripts, random texts, pictures of random sizes and icons. SAMPLE is a product's folder
// whose texts they vary. The same call makes the same folders.
#include <windows.h>
#include <zlib.h>

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

namespace {

using Json = nlohmann::ordered_json;
/// The colour at x, y as 0xRRGGBBAA.
using Paint = std::function<std::uint32_t(unsigned x, unsigned y)>;

constexpr const char* names[] = {
    "Northwind Notes", "Ünïque Näme", "Größenwahn",   "Северный ветер", "例え アプリ",
    "中文 软件",       "한국 앱",     "हिंदी ऐप",      "تطبيق نور",      "Ελληνικό μενού",
    "İstanbul Işığı",  "Đường phố",   "Zażółć gęślą", "Emoji 😀 Box",    "O'Neil (beta) + co",
};

std::string Big32(std::uint32_t value) {
    return {static_cast<char>(value >> 24), static_cast<char>(value >> 16),
            static_cast<char>(value >> 8), static_cast<char>(value)};
}

std::string Chunk(const std::string& kind, const std::string& data) {
    const std::string body = kind + data;
    const uLong sum =
        crc32(0, reinterpret_cast<const Bytef*>(body.data()), static_cast<uInt>(body.size()));
    return Big32(static_cast<std::uint32_t>(data.size())) + body +
           Big32(static_cast<std::uint32_t>(sum));
}

std::string MakePng(unsigned width, unsigned height, const Paint& paint) {
    std::string rows;
    for (unsigned y = 0; y < height; ++y) {
        rows += '\0';  // no filter
        for (unsigned x = 0; x < width; ++x) {
            rows += Big32(paint(x, y));
        }
    }
    uLongf size = compressBound(static_cast<uLong>(rows.size()));
    std::string packed(size, '\0');
    compress(reinterpret_cast<Bytef*>(packed.data()), &size,
             reinterpret_cast<const Bytef*>(rows.data()), static_cast<uLong>(rows.size()));
    packed.resize(size);
    return "\x89PNG\r\n\x1a\n" +
           Chunk("IHDR", Big32(width) + Big32(height) + std::string("\x08\x06\0\0\0", 5)) +
           Chunk("IDAT", packed) + Chunk("IEND", "");
}

/// Stripes of two colours, and noise in a third of the pictures, which does not pack.
Paint MakePaint(std::mt19937& random) {
    const std::uint32_t first = random() | 0xFF, second = random() | 0xFF;
    const unsigned width = random() % 60 + 1, slope = random() % 4;
    const bool isNoisy = random() % 3 == 0;
    return [=](unsigned x, unsigned y) {
        const std::uint32_t noise = isNoisy ? (x * 7919 + y * 104729) * 2654435761u >> 8 << 8 : 0;
        return ((x + y * slope) / width % 2 == 0 ? first : second) ^ noise;
    };
}

/// The field that the progress bar grows over, with its frame.
Paint WithTrack(const Paint& paint) {
    return [paint](unsigned x, unsigned y) {
        if (x >= 90 && x <= 410 && y >= 176 && y <= 190) {
            return 0xE5E7E3FFu;
        }
        return x >= 89 && x <= 411 && y >= 175 && y <= 191 ? 0xBABCB9FFu : paint(x, y);
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
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    DWORD written = 0;
    const bool isWritten =
        WriteFile(file, content.data(), static_cast<DWORD>(content.size()), &written, nullptr) != 0;
    CloseHandle(file);
    if (!isWritten) {
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
