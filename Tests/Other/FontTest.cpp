#include "Core/CMemoryReader.h"
#include "Core/CWriteSeqBuffer.h"
#include "Core/TempFolder.h"
#include "Core/TreeFixture.h"
#include "Other/COtherCreators.h"
#include "Other/TextFixture.h"

#include <limits>

using namespace lum;

namespace {

std::string bytesOf(CFont& font) {
    CWriteSeqBuffer stream;
    EXPECT_FALSE(font.save(stream));
    CByteBuffer out;
    stream.getBytes(out);
    return {reinterpret_cast<const char*>(out.data()), out.size()};
}

CErrorResult load(CFont& font, const std::string& bytes, size_t size) {
    CMemoryReader reader(bytes.data(), static_cast<int32_t>(size));
    return font.load(reader);
}

/// A small font, as the bytes of its file.
std::string smallFont() {
    CFont font;
    font.setImage(u' ', blockImage(0, 0, 8.25));
    font.setImage(u'A', blockImage(5, 7, 12.5, -7));
    font.ascent = 14.5;
    font.descent = 3.25;
    font.lineGap = 3.0;
    font.capHeight = 10.5;
    return bytesOf(font);
}

} // namespace

TEST(Font, aSavedFontLoadsTheSame) {
    const std::string bytes = smallFont();
    CFont font;
    ASSERT_FALSE(load(font, bytes, bytes.size()));
    EXPECT_EQ(font.getTypeCode(), blockId("font"));
    const double metrics[] = {font.ascent, font.descent, font.lineGap, font.capHeight};
    const double expected[] = {14.5, 3.25, 3.0, 10.5};
    for (int i = 0; i < 4; i++) EXPECT_EQ(metrics[i], expected[i]);
    EXPECT_EQ(font.getGlyph(u' ')->layers[0]->advance, 8.25);
    EXPECT_EQ(font.getGlyph(u'A')->layers[0]->offsetY, -7);
    for (const char16_t code : {u'\n', u'B', u'\u20AC', u'\uFFFF'})
        EXPECT_EQ(font.getGlyph(code), nullptr) << static_cast<int>(code);
    EXPECT_EQ(bytesOf(font), bytes);
}

TEST(Font, anotherVersionIsAnEmptyFontAndNoFailure) {
    std::string bytes = smallFont();
    CFont font;
    ASSERT_FALSE(load(font, bytes, bytes.size()));
    bytes[0] = 2;
    EXPECT_FALSE(load(font, bytes, bytes.size()));
    EXPECT_EQ(font.getImageLimit(), 0);
    EXPECT_EQ(font.ascent, 0.0);
}

TEST(Font, dataThatEndsEarlyAndWildMetricsFail) {
    std::string bytes = smallFont();
    for (size_t size = 0; size < bytes.size(); size++) {
        CFont font;
        EXPECT_TRUE(load(font, bytes, size)) << size;
    }
    for (const double wild : {std::numeric_limits<double>::quiet_NaN(), 1e300, -40000.0}) {
        std::memcpy(bytes.data() + bytes.size() - sizeof wild, &wild, sizeof wild);
        CFont font;
        EXPECT_EQ(first(load(font, bytes, bytes.size())), "Font metrics are damaged.");
        EXPECT_EQ(font.ascent, 0.0);
    }
}

class CFontObjectTest : public CTreeTest {
protected:
    void SetUp() override {
        CTreeTest::SetUp();
        ASSERT_FALSE(registerCreator(kOtherCreators));
        folder.put("small.fnt", smallFont());
    }
    /// Loads a tree with a family of the given styles under the root.
    CErrorResult loadFamily(const std::vector<std::string>& styles) {
        CNode family{"font", "base", {}, {}, {}};
        for (const std::string& style : styles)
            family.children.push_back(
                {"core:object",
                 style,
                 {{"is-font-style", "true"}, {"file", folder.path("small.fnt")}},
                 {},
                 {}});
        family.children.push_back({"core:object", "other", {{"file", "none"}}, {}, {}});
        folder.put("tree", CNode::bytesOf({"core:object", "", {}, {family}, {}}));
        return root->loadXMLData(folder / "tree", false);
    }
    CTempFolder folder;
};

TEST_F(CFontObjectTest, childrenFillTheStylesByName) {
    ASSERT_FALSE(loadFamily({"regular", "superscript", "bold-italic"}));
    const auto* family = root->findAs<CFontObject>("base");
    ASSERT_NE(family, nullptr);
    const bool isThere[] = {false, true, false, true, true};
    for (int i = 0; i < kFontStyleCount; i++)
        EXPECT_EQ(family->getFont(static_cast<FontStyle>(i)) != nullptr, isThere[i]) << i;
    EXPECT_EQ(family->getFont(FontStyle::Regular)->ascent, 14.5);
}

TEST_F(CFontObjectTest, anUnknownStyleFails) {
    EXPECT_EQ(first(loadFamily({"regular", "heavy"})), "Unknown font style 'heavy'.");
}
