#include "kit/ProductFolder.h"

#include <cstdint>

#include "kit/Files.h"
#include "kit/Picture.h"
#include "kit/ProductTexts.h"

namespace {

constexpr std::uint32_t longestFile = 16 << 20;

bool ReadPart(const std::wstring& folder, const char* name, std::string& content,
              Findings& findings) {
    const std::uint32_t error = ReadWholeFile(folder + L"\\" + Widen(name), longestFile, content);
    if (error != 0) {
        AddError(findings, name, "", "cannot be read: " + DescribeError(error));
    }
    return error == 0;
}

}  // namespace

Product ReadProductFolder(const std::wstring& folder, const Settings& settings,
                          Findings& findings) {
    Product product;
    std::string content;
    if (ReadPart(folder, "product.json", content, findings)) {
        product.identity = ReadIdentity(content, settings, findings);
    }
    if (ReadPart(folder, "texts.json", content, findings)) {
        product.texts = ReadTexts(content, product.identity.displayName,
                                  product.identity.supportAddress, findings);
    }
    if (ReadPart(folder, "background.png", product.picture, findings)) {
        CheckPicture(product.picture, findings);
    }
    if (ReadPart(folder, "icon.ico", content, findings)) {
        product.icon = ReadIcon(content, findings);
    }
    return product;
}
