#include "Core/TreeFixture.h"
#include "Other/CTextDrawing.h"
#include "Other/PixelFixture.h"
#include "Other/TextFixture.h"

#include <cmath>
#include <sstream>

using namespace lum;

namespace {

/// A layout as text, for comparing two.
std::string dump(const CTextWrapper& wrapper) {
    std::ostringstream out;
    for (const CTextLine* line : wrapper.getLines()) {
        out << line->paragraphIndex << ':' << line->startY << ',' << line->height << ','
            << line->shiftX << ',' << line->baselineOffset << ',' << line->width << ','
            << line->spaceExtra << ',' << line->startIndex << (line->next ? '>' : '.');
        for (const CTextCharacter& each : line->characters)
            out << ' ' << each.sourceIndex << '@' << each.advance << '/' << each.offsetY;
        out << '\n';
    }
    return out.str();
}

/// A picture as rows of text: "#" where it is bright.
std::string drawnRows(const CTextWrapper& wrapper, int width, int height) {
    CLinearBitmap bitmap;
    EXPECT_FALSE(bitmap.setSize(width, height, true));
    CTextDrawing drawing;
    drawing.prepare(wrapper, {});
    drawing.draw(bitmap, 0, 0, bitmap.bounds());
    std::string out;
    for (int y = 0; y < height; y++) {
        for (int x = 0; x < width; x++) out += bitmap.row(y)[x * 4] > 127 ? '#' : '.';
        out += '\n';
    }
    return out;
}

} // namespace

using CTextWrapperTest = CTextTest;

TEST_F(CTextWrapperTest, linesBreakAtSpacesAndNeverInsideWords) {
    const struct {
        double width;
        const char* text;
        const char* lines;
    } cases[] = {
        {28, "ab cd ef", "ab cd|ef"}, // 12 + 4 + 12 = 28
        {27, "ab cd ef", "ab|cd|ef"},
        {100, "ab cd ef", "ab cd ef"},
        {20, "abcdefgh", "abcdefgh"}, // a long word runs over
        {20, "abcdefgh ab", "abcdefgh|ab"},
        {20, " abcdefgh", " abcdefgh"}, // no cut in front of the first character
        {27, "ab   cd", "ab  |cd"},     // the last space is the one not drawn
        {14, "ab   cd", "ab| |cd"},
        {28, "[B]ab[/B] [C1]cd[/C1] ef", "ab cd|ef"},
        {28, "a~b c~d", "ab cd"}, // a character without a glyph takes no room
        {28, "ab[BR]cd\nef", "ab|cd|ef"},
        {28, "ab\n", "ab|"},
        {28, "", ""},
        {17, "a[IMG=set#dot]b c", "a@b|c"}, // 6 + 5 + 6
        {0.9, "ab cd", ""},
    };
    for (const auto& each : cases) {
        setWidth(each.width);
        show(each.text);
        EXPECT_EQ(linesOf(wrapper), each.lines) << each.text << " in " << each.width;
        const bool hasRoom = each.width >= 1.0;
        EXPECT_EQ(wrapper.getLines().empty(), !hasRoom) << each.text;
    }
    EXPECT_DOUBLE_EQ(wrapper.getSize().height, 10.0 * 0.9998 + 4.0); // of no lines
}

TEST_F(CTextWrapperTest, advancesAreWholePixelsAndTheLastIsRounded) {
    family.setFont(FontStyle::Regular, blockFont(13.5));
    ASSERT_FALSE(wrapper.setFontObject(&family));
    for (const double scale : {1.0, 1.25, 1.5, 2.0}) {
        inputs.scale = scale;
        show("abc[/B]");
        const double exact = 13.5 * scale * 0.5;
        EXPECT_EQ(line(0).characters[0].advance, std::floor(exact));
        EXPECT_EQ(line(0).characters[2].advance, std::round(exact));
        EXPECT_EQ(line(0).width, 2 * std::floor(exact) + std::round(exact) + 1.0);
        EXPECT_EQ(wrapper.getSize().width, line(0).width);
        EXPECT_EQ(line(0).height, std::ceil(10.0 * 0.9998 * scale + 4.0 * scale));
    }
}

TEST_F(CTextWrapperTest, alignmentPlacesEachLine) {
    inputs.leftBorder = 3.0;
    inputs.rightBorder = 5.0;
    const struct {
        const char* name;
        double shift;
        double extra;
    } cases[] = {
        {"left", 3.0, 0.0},
        {"right", 60.0 - 2.0 - 5.0 - 29.0, 0.0}, // of "ab cd", 28 wide and 1 more
        {"center", (60.0 - 29.0) / 2.0, 0.0},
        {"justify", 3.0, 52.0 - 29.0},
    };
    for (const auto& each : cases) {
        setWidth(60.0);
        inputs.align = textAlignFromText(each.name);
        show("ab cd efghij");
        ASSERT_EQ(linesOf(wrapper), "ab cd|efghij");
        EXPECT_DOUBLE_EQ(line(0).shiftX, each.shift) << each.name;
        EXPECT_DOUBLE_EQ(line(0).spaceExtra, each.extra) << each.name;
        EXPECT_DOUBLE_EQ(line(1).spaceExtra, 0.0) << each.name; // no wrap ends it
        EXPECT_DOUBLE_EQ(line(0).leftOf(5), each.shift + 28.0 + each.extra) << each.name;
    }
}

TEST_F(CTextWrapperTest, linesStandBelowOneAnotherOnWholePixels) {
    inputs.lineHeightModifier = 3.0; // margin round(1.5) = 2
    inputs.paragraphSpacing = 5.0;
    inputs.height = 200.0;
    for (const bool isTop : {true, false}) {
        inputs.isTopAligned = isTop;
        show("a\nb");
        wrapper.addParagraph("");
        const double total = 3 * 18.0 + 5.0;
        EXPECT_EQ(wrapper.getSize().height, total);
        const double shift = isTop ? 0.0 : (200.0 - total) / 2.0;
        const double tops[] = {0.0, 18.0, 41.0};
        for (int i = 0; i < 3; i++) {
            EXPECT_EQ(line(i).height, 18.0);
            EXPECT_NEAR(line(i).startY, shift + tops[i] + 0.001,
                        1e-9); // half of what rounding added
            EXPECT_EQ(wrapper.lineAt(shift + tops[i] + 9.0), &line(i));
            EXPECT_EQ(line(i).next, i < 2 ? &line(i + 1) : nullptr);
        }
        EXPECT_EQ(wrapper.lineAt(shift + 38.0), nullptr); // between the paragraphs
        EXPECT_EQ(wrapper.lineAt(shift - 1.0), nullptr);
        EXPECT_EQ(wrapper.lineAt(shift + total + 1.0), nullptr);
        EXPECT_EQ(wrapper.getParagraph(1).lines.ssize(), 1); // an empty paragraph has a line
    }
}

TEST_F(CTextWrapperTest, imagesStandOnTheCapitalsAndRaiseTheLine) {
    show("a[IMG=set#dot][IMG=set#tall:Go]a[SUP]a");
    const double ascent = 10.0 * 0.9998;
    const CTextCharacter* characters = line(0).characters.data();
    EXPECT_EQ(characters[0].offsetY, 10.0); // ceil(13.998) - ceil(4)
    EXPECT_DOUBLE_EQ(characters[1].offsetY, (ascent + 4.0 - 5.0) / 2.0);
    EXPECT_DOUBLE_EQ(characters[2].offsetY, (ascent + 4.0 - 30.0) / 2.0);
    EXPECT_EQ(characters[4].offsetY, 10.0 - 4.0); // raised by half a capital
    EXPECT_EQ(characters[1].advance, 5.0);        // 5.5 cut
    EXPECT_TRUE(characters[1].isSelectable);
    EXPECT_FALSE(characters[2].isSelectable);
    EXPECT_EQ(characters[2].linkIndex, 0);
    EXPECT_EQ(wrapper.getParagraph(0).actions[0], "Go");
    EXPECT_EQ(line(0).height, 30.0);
    EXPECT_DOUBLE_EQ(line(0).baselineOffset, (8.0 + 30.0) / 2.0 - ascent);
}

TEST_F(CTextWrapperTest, aSeparatorIsAsHighAsItsRule) {
    inputs.align = TextAlign::Right;
    inputs.width = 100.0;
    inputs.lineHeightModifier = 2.0;
    show(kSeparatorText);
    EXPECT_EQ(line(0).height, 3.0 + 2.0);
    EXPECT_EQ(line(0).shiftX, 0.0);
    EXPECT_EQ(line(0).baselineOffset, 0.0);
    EXPECT_TRUE(line(0).characters[0].isSeparator);
    EXPECT_EQ(line(0).characters[0].advance, 0.0);
    EXPECT_EQ(line(0).characters[0].offsetY, 1.0);
}

TEST_F(CTextWrapperTest, displayTextFollowsTheRules) {
    const struct {
        const char* text;
        bool isPassword;
        int longest;
        const char* prefix;
        const char* shown;
        bool isNotAvailable;
    } cases[] = {
        {"[N/A]abc", false, 0, "", "abc", true}, {"a[N/A]", false, 0, "", "a[N/A]", false},
        {"[B]ab", true, 0, "", "*****", false},  {"[N/A]", true, 0, "", "*****", false},
        {"abcdef", false, 4, "", "abcd", false}, {"abcdef", true, 4, "> ", "> ****", false},
        {"", false, 0, "> ", "> ", false},
    };
    for (const auto& each : cases) {
        inputs.isPassword = each.isPassword;
        inputs.maxParagraphLength = each.longest;
        inputs.activeParagraphPrefix = each.prefix;
        for (const bool isSetAfterwards : {false, true}) {
            CTextWrapper fresh;
            prepare(fresh);
            if (!isSetAfterwards) fresh.setInputs(inputs);
            fresh.setActiveParagraph(0);
            fresh.addParagraph("x");
            fresh.setActiveParagraph(0);
            fresh.setParagraphText(0, each.text);
            if (isSetAfterwards) fresh.setInputs(inputs);
            fresh.layout();
            const CTextParagraph& paragraph = fresh.getParagraph(0);
            EXPECT_EQ(paragraph.displayText, each.shown) << each.text;
            EXPECT_EQ(paragraph.isNotAvailable, each.isNotAvailable) << each.text;
            EXPECT_EQ(paragraph.prefixLength, static_cast<int>(std::strlen(each.prefix)));
            EXPECT_EQ(linesOf(fresh), each.shown);
        }
    }
}

TEST_F(CTextWrapperTest, stylesThatAFamilyLacksShowAsRegular) {
    family.setFont(FontStyle::Italic, blockFont(20.0));
    ASSERT_FALSE(wrapper.setFontObject(&family));
    show("a[B]a[I]a[/B]a[SUP]a ");
    const double advances[] = {6.0, 6.0, 6.0, 10.0, 6.0};
    for (int i = 0; i < 5; i++) EXPECT_EQ(line(0).characters[i].advance, advances[i]) << i;
    EXPECT_EQ(first(wrapper.setFontObject(nullptr)), "Font object is empty.");
    CFontObject empty;
    ASSERT_FALSE(wrapper.setFontObject(&empty));
    show("abc");
    EXPECT_EQ(linesOf(wrapper), "");
}

TEST_F(CTextWrapperTest, onlyDirtyParagraphsAreLaidOutAgain) {
    show("one");
    wrapper.addParagraph("two");
    wrapper.addParagraph("three");
    EXPECT_TRUE(wrapper.layout());
    EXPECT_FALSE(wrapper.layout());
    const CTextLine* kept[] = {&line(0), &line(2)};
    wrapper.setParagraphText(1, "changed");
    EXPECT_TRUE(wrapper.layout());
    EXPECT_EQ(&line(0), kept[0]);
    EXPECT_EQ(&line(2), kept[1]);
    wrapper.setParagraphText(1, "changed");
    EXPECT_FALSE(wrapper.layout());
    inputs.height = 50.0;
    inputs.isTopAligned = false;
    wrapper.setInputs(inputs);
    EXPECT_TRUE(wrapper.layout());
    EXPECT_EQ(&line(0), kept[0]);
}

TEST_F(CTextWrapperTest, changesInAnyOrderEndInTheLayoutOfAFreshWrapper) {
    constexpr unsigned kSeed = 17;
    CNoise noise(kSeed);
    const std::string parts[] = {"ab", " ",     "[B]", "[/B]",  "[IMG=set#tall:Go]",        "[BR]",
                                 "[",  "cdefg", "\n",  "[N/A]", "[IMG=is.button#HR:Action]"};
    inputs.activeParagraphPrefix = "[IMG=set#dot] ";
    std::vector<std::string> texts;
    int active = -1;
    for (int step = 0; step < 400; step++) {
        std::string text;
        for (int i = noise.number(0, 6); i > 0; i--) text += parts[noise.number(0, 10)];
        const int count = static_cast<int>(texts.size());
        const int index = noise.number(0, count);
        switch (noise.number(0, 5)) {
        case 0:
        case 1:
            texts.insert(texts.begin() + index, text);
            wrapper.insertParagraph(index, CString::fromUtf8(text));
            if (active >= index) active++;
            break;
        case 2:
            if (index < count) texts[static_cast<size_t>(index)] = text;
            wrapper.setParagraphText(index, CString::fromUtf8(text));
            break;
        case 3:
            if (index < count) texts.erase(texts.begin() + index);
            wrapper.removeParagraph(index);
            if (index < count && active == index) active = -1;
            if (index < count && active > index) active--;
            break;
        case 4:
            wrapper.setActiveParagraph(active = noise.number(-1, count - 1));
            break;
        default:
            inputs.width = noise.number(0, 4) * 20.0;
            inputs.isWrapped = noise.number(0, 1) == 1;
            inputs.align = static_cast<TextAlign>(noise.number(0, 3));
            inputs.isTopAligned = noise.number(0, 1) == 1;
            inputs.paragraphSpacing = noise.number(0, 3);
            inputs.scale = noise.number(4, 8) / 4.0;
            wrapper.setInputs(inputs);
        }
        if (noise.number(0, 2) == 0) continue;
        CTextWrapper fresh;
        prepare(fresh);
        fresh.setInputs(wrapper.getInputs());
        for (const std::string& each : texts) fresh.addParagraph(CString::fromUtf8(each));
        fresh.setActiveParagraph(active);
        const CTextWrapper::CSize size = wrapper.getSize();
        ASSERT_EQ(size.height, fresh.getSize().height) << "step " << step << ", seed " << kSeed;
        ASSERT_EQ(size.width, fresh.getSize().width) << "step " << step;
        ASSERT_EQ(dump(wrapper), dump(fresh)) << "step " << step << ", seed " << kSeed;
    }
}

TEST_F(CTextWrapperTest, charactersAreDrawnOnWholePixels) {
    family.setFont(FontStyle::Regular, blockFont(6.0)); // blocks 4 wide, 3 apart
    auto font = blockFont(6.0);
    font->setImage(u'a', blockImage(4, 4, 6.0, -4));
    font->ascent = 3.0;
    font->descent = 1.0;
    family.setFont(FontStyle::Regular, std::move(font));
    ASSERT_FALSE(wrapper.setFontObject(&family));
    setWidth(15.0);
    inputs.align = TextAlign::Justify;
    show("aa a aa");
    EXPECT_EQ(drawnRows(wrapper, 16, 8), "................\n"
                                         "##.##......##...\n"
                                         "##.##......##...\n"
                                         "................\n"
                                         "................\n"
                                         "##.##...........\n"
                                         "##.##...........\n"
                                         "................\n");
    for (const double half : {0.49, 0.499, -0.51}) // 128ths first, and then pixels
        EXPECT_EQ(CTextDrawing::toPixel(half), half == 0.499 ? 1 : half < 0 ? -1 : 0) << half;
}

TEST_F(CTextWrapperTest, aClippedDrawingIsTheCutOfTheWhole) {
    setWidth(60.0);
    show("ab [IMG=set#tall] cd ef gh\nij kl [SUP]mn");
    CTextDrawing drawing;
    drawing.prepare(wrapper, {});
    CNoise noise(3);
    CLinearBitmap whole;
    ASSERT_FALSE(whole.setSize(70, 100, true));
    drawing.draw(whole, 4, 2, whole.bounds());
    for (int round = 0; round < 50; round++) {
        const CPixelRect clip{noise.number(0, 35), noise.number(0, 50), noise.number(35, 70),
                              noise.number(50, 100)};
        CLinearBitmap part;
        CLinearBitmap cut;
        ASSERT_FALSE(part.setSize(70, 100, true));
        ASSERT_FALSE(cut.setSize(70, 100, true));
        drawing.draw(part, 4, 2, clip);
        whole.copyRectTo(cut, clip.left, clip.top, clip);
        ASSERT_EQ(bytesOf(part), bytesOf(cut)) << "round " << round;
    }
}
