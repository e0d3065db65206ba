#include "Samples.h"

#include <zlib.h>

#include <gtest/gtest.h>

#include <cstdlib>

#include "kit/Files.h"

const std::wstring sampleBase = FromHostPath(Widen(SAMPLE_BASE));

std::wstring ProductFolder(const std::wstring& name) {
    return FromHostPath(Widen(PRODUCTS_FOLDER)) + L"\\" + name;
}

std::string Read(const std::wstring& path) {
    std::string content;
    EXPECT_EQ(ReadWholeFile(path, 64 << 20, content), 0u) << Narrow(path);
    return content;
}

nlohmann::json ReadJson(const std::wstring& path) {
    return nlohmann::json::parse(Read(path));
}

std::string ReadResource(const std::wstring& path, const wchar_t* type, unsigned id,
                         DWORD loading) {
    const HMODULE module = LoadLibraryExW(path.c_str(), nullptr, loading);
    const HRSRC found = FindResourceW(module, MAKEINTRESOURCEW(id), type);
    std::string data = "none";
    if (found != nullptr) {
        data.assign(static_cast<const char*>(LockResource(LoadResource(module, found))),
                    SizeofResource(module, found));
    }
    FreeLibrary(module);
    return data;
}

std::string Lines(const Findings& findings) {
    std::string lines;
    for (const Finding& finding : findings) {
        lines += FormatFinding(finding) + "\n";
    }
    return lines;
}

void ExpectOnly(const Findings& findings, const std::string& start, const std::string& expected) {
    const std::string lines = Lines(findings);
    ASSERT_EQ(findings.size(), start.empty() && expected.empty() ? 0u : 1u) << start << "\n"
                                                                            << lines;
    EXPECT_EQ(lines.rfind(start, 0), 0u) << start << "\n" << lines;
    EXPECT_NE(lines.find(expected), std::string::npos) << expected << "\n" << lines;
}

int ExitCodeOf(std::wstring commandLine) {
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    DWORD code = static_cast<DWORD>(-1);
    if (CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                       &startup, &process)) {
        if (WaitForSingleObject(process.hProcess, 20000) != WAIT_OBJECT_0) {
            TerminateProcess(process.hProcess, code);
        }
        GetExitCodeProcess(process.hProcess, &code);
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
    }
    return static_cast<int>(code);
}

std::string Noise(std::size_t length) {
    std::string noise(length, '\0');
    unsigned long long state = 88172645463325252u;  // xorshift64, by G. Marsaglia
    for (char& byte : noise) {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        byte = static_cast<char>(state >> 24);
    }
    return noise;
}

namespace {

std::string Big32(unsigned value) {
    return {static_cast<char>(value >> 24), static_cast<char>(value >> 16),
            static_cast<char>(value >> 8), static_cast<char>(value)};
}

std::string Chunk(const std::string& kind, const std::string& data) {
    const std::string body = kind + data;
    const auto sum = crc32(0, reinterpret_cast<const Bytef*>(body.data()), body.size());
    return Big32(data.size()) + body + Big32(sum);
}

int Paeth(int a, int b, int c) {
    const int p = a + b - c, pa = std::abs(p - a), pb = std::abs(p - b), pc = std::abs(p - c);
    return pa <= pb && pa <= pc ? a : pb <= pc ? b : c;
}

}  // namespace

std::string MakePng(unsigned width, unsigned height, unsigned channels,
                    const std::function<unsigned(unsigned x, unsigned y)>& paint) {
    // With a black row above and a black column on the left, as the filters assume.
    const unsigned stride = (width + 1) * channels;
    std::basic_string<unsigned char> image(stride * (height + 1), 0);
    std::string rows;
    for (unsigned y = 0; y < height; ++y) {
        rows += static_cast<char>(y % 5);
        for (unsigned i = 0; i < width * channels; ++i) {
            unsigned char* const place = &image[(y + 1) * stride + channels + i];
            *place = paint(i / channels, y) >> (24 - 8 * (i % channels));
            const int a = place[-int(channels)], b = place[-int(stride)];
            const int c = place[-int(stride + channels)];
            const int predictions[] = {0, a, b, (a + b) / 2, Paeth(a, b, c)};
            rows += static_cast<char>(*place - predictions[y % 5]);
        }
    }
    uLongf size = compressBound(rows.size());
    std::string packed(size, '\0');
    compress(reinterpret_cast<Bytef*>(packed.data()), &size,
             reinterpret_cast<const Bytef*>(rows.data()), rows.size());
    packed.resize(size);
    const std::string form = {8, channels == 4 ? '\6' : '\2', 0, 0, 0};
    return "\x89PNG\r\n\x1a\n" + Chunk("IHDR", Big32(width) + Big32(height) + form) +
           Chunk("IDAT", packed.substr(0, size / 2)) + Chunk("IDAT", packed.substr(size / 2)) +
           Chunk("IEND", "");
}

std::string SealPngHeader(std::string png) {
    return png.replace(8, 25, Chunk("IHDR", png.substr(16, 13)));
}

unsigned PaintTrack(unsigned x, unsigned y) {
    // Uneven within what a track may deviate, so that a wrong guess at a neighbour adds up.
    const unsigned noise = ((x * 7919 + y * 104729) * 2654435761u >> 16) % 7 * 0x01010100;
    if (x >= 90 && x <= 410 && y >= 176 && y <= 190) {
        return 0xE2E4E0FF + noise;
    }
    return (x >= 89 && x <= 411 && y >= 175 && y <= 191 ? 0xB7B9B6FF : 0xF0F2F4FF) + noise;
}
