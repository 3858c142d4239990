#include "ViewFixture.h"

#include "Core/CWriteSeqBuffer.h"
#include "Core/TempFolder.h"
#include "Other/CFontObject.h"
#include "Other/TextFixture.h"

using namespace lum;

namespace {

constexpr int kTextureIndex = 8; // behind a frame's pieces
constexpr int kSide = 8;         // data pixels, 4 interface units

/// A set whose only image is half opaque, half transparent from left to right.
class PictureTest : public CViewTest {
protected:
    void SetUp() override {
        CViewTest::SetUp();
        buildPalette({{"Red", "ff0000"}});
        auto layer = std::make_unique<CImageLayer>();
        layer->scale = 2.0;
        layer->invScale = 0.5;
        layer->width = layer->height = kSide;
        layer->bytesPerPixel = 2;
        std::vector<uint8_t> pixels;
        for (int i = 0; i < kSide * kSide; i++) {
            pixels.push_back(255);
            pixels.push_back(i % kSide < kSide / 2 ? 255 : 0);
        }
        layer->setPixels({pixels.data(), pixels.size()});
        auto image = std::make_unique<CImage>();
        image->layers.push_back(std::move(layer));
        CImageSet set;
        set.setRange("", 0, kTextureIndex);
        set.setImage(kTextureIndex, std::move(image));
        CWriteSeqBuffer stream;
        ASSERT_FALSE(set.save(stream));
        CByteBuffer bytes;
        stream.getBytes(bytes);
        folder.put("a.is", {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
        build({"imageset", "is", {{"file", (folder / "a.is").toUtf8()}}, {}, ""});
        ASSERT_EQ(failure, "");
    }
    CTempFolder folder;
};

} // namespace

TEST_F(PictureTest, aScaleSetBeforeTheFirstFrameIsTheOneOfAnyLaterFrame) {
    buildRoot({{"ui:picture",
                "p",
                {{"color", "Red"}, {"image-set", "is"}, {"image-set-index", "8"}},
                {},
                ""}});
    window->setScale(1.5);
    frameAt(0.0);
    EXPECT_EQ(at("win.root.p")->getRect().width, 6.0);
    window->setScale(2.0);
    frameAt(0.1);
    EXPECT_EQ(at("win.root.p")->getRect().width, 8.0);
}

TEST_F(PictureTest, aContentOfItsOwnIsMeasuredAgainWhenItsSizeCountsAgain) {
    auto* font = dynamic_cast<CFontObject*>(build({"font", "font", {}, {}, ""}));
    ASSERT_TRUE(font);
    font->setFont(FontStyle::Regular, blockFont());
    buildRoot({{"ui:picture",
                "view",
                {{"color", "Red"}, {"image-set", "is"}, {"image-set-index", "8"}},
                {},
                ""},
               {"ui:caption",
                "text",
                {{"font-name", "font"}, {"title", "ab"}, {"compact-height", "auto"}},
                {},
                ""}});
    ASSERT_EQ(failure, "");
    for (const char* path : {"win.root.view", "win.root.text"}) {
        frameAt(0.0);
        const CViewRect measured = at(path)->getRect();
        EXPECT_GT(measured.width, 1.0) << path;
        EXPECT_GT(measured.height, 1.0) << path;
        for (const char* name : {"compact-width", "compact-height"}) {
            set(at<CObject>(path), name, "0");
            frameAt(0.0);
            EXPECT_NE(at(path)->getRect(), measured) << path;
            set(at<CObject>(path), name, "auto");
            frameAt(0.0);
            EXPECT_EQ(at(path)->getRect(), measured) << path;
        }
    }
}

TEST_F(PictureTest, aPictureStaysAlignedToItsTargetWhicheverMoves) {
    window->setScale(2.0); // the image is 8 pixels wide, the left 4 of them red
    buildRoot({{"ui:view", "gap", {{"placement", "left"}, {"width", "0"}}, {}, ""},
               {"ui:view", "target", {{"placement", "left"}, {"width", "4"}}, {}, ""},
               {"ui:picture",
                "p",
                {{"placement", "overlay"},
                 {"width", "40"},
                 {"alignment-h", "left"},
                 {"color", "Red"},
                 {"image-set", "is"},
                 {"image-set-index", "8"},
                 {"pic-alignment-v", "top"},
                 {"pic-alignment-h", "left"},
                 {"pic-alignment-target", "^.target"}},
                {},
                ""}});
    ASSERT_EQ(failure, "");
    const auto left = [this] { // of the red pixels
        int x = 0;
        while (x < 150 && pixel(x, 2) != 0xff0000) x++;
        return x;
    };
    EXPECT_EQ(left(), 0);
    set(at<CObject>("win.root.gap"), "width", "10");
    EXPECT_EQ(left(), 20) << "the target has moved";
    set(at<CObject>("win.root.p"), "outer-border", "L5");
    EXPECT_EQ(left(), 20) << "the picture has moved";
    set(at<CObject>("win.root.target"), "spread", "L3");
    EXPECT_EQ(left(), 14) << "the target draws further to the left";
    set(at<CObject>("win.root.p"), "pic-alignment-target", "");
    EXPECT_EQ(left(), 10);
    set(at<CObject>("win.root.p"), "pic-alignment-target", "^.target");
    EXPECT_EQ(left(), 14);
    CObject::destroyObject(at<CObject>("win.root.target"));
    EXPECT_EQ(left(), 10) << "without the target";
}

TEST_F(PictureTest, aWriteThatChangesNothingDoesNothing) {
    auto* font = dynamic_cast<CFontObject*>(build({"font", "font", {}, {}, ""}));
    font->setFont(FontStyle::Regular, blockFont());
    build({"ui:dynamic-palette", "other", {}, {}, ""});
    const std::vector<std::pair<std::string, std::string>> common{
        {"placement", "full"},    {"color", "Red"},          {"color-slots", "|Mark"},
        {"color-state", "On"},    {"disabled-color", "Off"}, {"shared-color", "^"},
        {"palette", "other"},     {"image-set", "is"},       {"image-set-index", "8"},
        {"image-set-range", "X"}, {"is-disabled", "true"},   {"inner-border", "2"},
        {"spread", "1"},          {"outer-border", "1"},     {"unclip-level", "1"},
        {"debug-area", "true"},   {"z-index", "2"},          {"opacity", "0.5"},
        {"min-width", "5"}};
    const struct {
        const char* tag;
        std::vector<std::pair<std::string, std::string>> own;
    } rows[] = {{"ui:caption",
                 {{"font-name", "font"},
                  {"title", "ab"},
                  {"text-color", "Mark"},
                  {"shadow-color", "Shadow"},
                  {"text-alignment", "left"},
                  {"text-alignment-v", "top"},
                  {"right-side-gap", "3"}}},
                {"ui:picture",
                 {{"pic-alignment-h", "left"},
                  {"pic-alignment-v", "bottom"},
                  {"pic-alignment-target", "^"},
                  {"crop", "1"},
                  {"is-tiling-x", "true"},
                  {"is-tiling-y", "true"}}},
                {"ui:frame-base",
                 {{"has-borders", "true"},
                  {"has-center", "true"},
                  {"has-corners-only", "true"},
                  {"is-fixed-frame", "true"},
                  {"is-ignore-color-opacity", "true"},
                  {"is-textured-background", "true"},
                  {"textured-background-offset-x", "2"},
                  {"second-layer-color", "Red"}}}};
    for (const auto& row : rows) {
        auto attributes = row.own;
        attributes.insert(attributes.end(), common.begin(), common.end());
        buildRoot({{row.tag, "v", attributes, {}, ""}});
        ASSERT_EQ(failure, "");
        frameAt(0.0);
        addProbe(window, "probe")->listenObject("win.root.v", "title-changed", "ping");
        window->takeDirty();
        CProbe::journal.clear();
        for (const auto& [name, value] : attributes) {
            if (name == "font-name") continue;
            set(at<CObject>("win.root.v"), name.c_str(), value.c_str());
            EXPECT_TRUE(window->takeDirty().empty()) << row.tag << " " << name;
            EXPECT_FALSE(window->metrics().needsUpdate()) << row.tag << " " << name;
            EXPECT_TRUE(takeJournal().empty()) << row.tag << " " << name;
        }
        CObject::destroyObject(at<CObject>("win.root"));
        CObject::destroyObject(at<CObject>("win.probe"));
    }
}

// The image is the first piece here, in the top left corner.
TEST_F(PictureTest, aFrameHasThePartsThatItIsGiven) {
    const struct {
        const char* tag;
        std::vector<std::pair<std::string, std::string>> own;
        bool hasCorner;
    } rows[] = {{"ui:frame-base", {}, false},
                {"ui:frame-base", {{"has-borders", "true"}}, true},
                {"ui:frame-base", {{"has-corners-only", "true"}}, true},
                {"ui:frame-base", {{"has-center", "true"}}, false},
                {"ui:shadow", {}, true}};
    window->setScale(2.0);
    for (const auto& row : rows) {
        auto attributes = row.own;
        for (const auto& [name, value] : {std::pair{"placement", "full"},
                                          {"color", "Red"},
                                          {"image-set", "is"},
                                          {"image-set-index", "8"}})
            attributes.emplace_back(name, value);
        buildRoot({{row.tag, "f", attributes, {}, ""}});
        EXPECT_EQ(pixel(1, 1) == 0xff0000, row.hasCorner) << row.tag << " " << row.own.size();
        CObject::destroyObject(at<CObject>("win.root"));
    }
}

TEST_F(PictureTest, aTexturedBackgroundIsTiledFromItsOffset) {
    buildRoot({{"ui:frame-base",
                "f",
                {{"placement", "full"},
                 {"color", "Red"},
                 {"image-set", "is"},
                 {"is-textured-background", "true"}},
                {},
                ""}});
    window->setScale(2.0);
    const struct {
        const char* offset; // interface units
        uint32_t colors[3]; // at pixels 1, 5 and 9
    } rows[] = {{"0", {0xff0000, 0, 0xff0000}},
                {"2", {0, 0xff0000, 0}},
                {"-2", {0, 0xff0000, 0}},
                {"10", {0, 0xff0000, 0}}};
    for (const auto& row : rows) {
        set(at<CObject>("win.root.f"), "textured-background-offset-x", row.offset);
        for (int i = 0; i < 3; i++) EXPECT_EQ(pixel(1 + 4 * i, 30), row.colors[i]) << row.offset;
    }
}
