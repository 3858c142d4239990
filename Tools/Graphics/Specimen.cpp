#include "Graphics/Specimen.h"

#include "Graphics/ContactSheet.h"
#include "Graphics/GraphicsFile.h"
#include "Other/CTextDrawing.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr const char* kSampleText =
    "Hamburgefonstiv 0123456789 Linear-phase equaliser, 16 bands: +3.5 dB at 1.25 kHz "
    "(Q 0.71) \xE2\x86\x90 \xE2\x86\x92 \xE2\x86\x91 \xE2\x86\x93 "
    "\xE2\x80\x9C\xC3\x84\xC3\xB6\xC3\xBC"
    "\xC3\x9F \xC3\xA9\xC3\xA8\xC3\xA7 \xC5\x81\xC4\x99\xC5\xBE\xE2\x80\x9D "
    "\xCE\x91\xCE\xB2\xCE\xB3\xCE\xB4\xCE\xA9 \xD0\x96\xD0\xB4\xD1\x84\xD1\x8B\xD1\x8F "
    "\xE2\x80\xA6";
constexpr int kMargin = 8;                 // pixels
constexpr uint8_t kGrounds[2] = {38, 226}; // greys, and the text on them
constexpr uint8_t kTexts[2] = {224, 28};

/// One block of the specimen: a font at a scale.
struct Block {
    lum::CTextWrapper wrapper;
    int y = 0;
    int height = 0;
    int width = 0;
};

/// A family of one font, and the name it is announced by.
struct Family {
    lum::CFontObject object;
    std::string name;
};

std::string nameOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    const std::string file = slash == std::string::npos ? path : path.substr(slash + 1);
    return file.substr(0, file.rfind('.'));
}

std::vector<std::unique_ptr<Family>> loadFamilies(const std::vector<std::string>& paths) {
    std::vector<std::unique_ptr<Family>> families;
    for (const std::string& path : paths) {
        auto family = std::make_unique<Family>();
        family->name = nameOf(path);
        family->object.setFont(lum::FontStyle::Regular, loadFontFile(path));
        families.push_back(std::move(family));
    }
    return families;
}

std::unique_ptr<Block> makeBlock(const Family& family, double scale,
                                 const SpecimenOptions& options) {
    auto block = std::make_unique<Block>();
    block->width = static_cast<int>(options.width * scale);
    lum::CTextLayoutInputs inputs;
    inputs.scale = scale;
    inputs.isWrapped = true;
    inputs.width = block->width - 2.0 * kMargin;
    block->wrapper.setInputs(inputs);
    throwOnError(block->wrapper.setFontObject(&family.object), family.name);
    const std::string shown = options.text.empty() ? kSampleText : options.text;
    const std::string head = family.name + " \xC3\x97" + std::to_string(scale).substr(0, 4) + " ";
    block->wrapper.addParagraph(lum::CString::fromUtf8(head + shown));
    block->height = static_cast<int>(std::ceil(block->wrapper.getSize().height)) + kMargin;
    return block;
}

void drawBlock(const Block& block, int ground, int x, lum::CLinearBitmap& target) {
    const lum::CPaletteTable table = plainPalette(kTexts[ground]);
    lum::CTextPaint paint;
    paint.colors.fill({1.0, &table});
    lum::CTextDrawing drawing;
    drawing.prepare(block.wrapper, paint);
    drawing.draw(target, x + kMargin, block.y, target.bounds());
}

} // namespace

void drawSpecimen(const SpecimenOptions& options, lum::CLinearBitmap& target) {
    const auto families = loadFamilies(options.fonts);
    std::vector<std::unique_ptr<Block>> blocks;
    int y = kMargin;
    int width = 0;
    for (const double scale : options.scales)
        for (const auto& family : families) {
            blocks.push_back(makeBlock(*family, scale, options));
            blocks.back()->y = y;
            y += blocks.back()->height;
            width = std::max(width, blocks.back()->width);
        }
    throwOnError(target.setSize(2 * width, y, true), "specimen");
    for (int ground = 0; ground < 2; ground++) {
        const lum::CPaletteTable table = plainPalette(kGrounds[ground]);
        target.fillRect({ground * width, 0, (ground + 1) * width, y}, {1.0, &table}, 0, 1.0);
        for (const auto& block : blocks) drawBlock(*block, ground, ground * width, target);
    }
}
