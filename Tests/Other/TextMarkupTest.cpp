#include "Other/TextFixture.h"

using namespace lum;

namespace {

constexpr char kStyles[] = "BXI.S"; // by FontStyle: bold, bold italic, italic, regular, raised
constexpr char kColors[] = "012";   // by TextColor

/// Tokens as text: "a" plain, "a:B1" bold in the first colour, "@" an image, "@2" with action 2.
std::string describe(const std::string& text, CTextImageSource* images, CVector<CString>& actions) {
    CVector<CTextToken> tokens;
    scanTextMarkup(CString::fromUtf8(text), images, actions, tokens);
    std::string out;
    for (const CTextToken& token : tokens) {
        if (token.kind == CTextToken::Kind::Break) out += '/';
        if (token.kind == CTextToken::Kind::Image) {
            out += token.isSeparator ? "=" : "@";
            if (token.linkIndex >= 0) out += std::to_string(token.linkIndex);
        }
        if (token.kind != CTextToken::Kind::Glyph) continue;
        out += static_cast<char>(token.code);
        const char style = kStyles[static_cast<size_t>(token.style)];
        const char color = kColors[static_cast<size_t>(token.color)];
        if (style != '.' || color != '0') (out += ':') += {style, color};
    }
    return out;
}

} // namespace

TEST(TextMarkup, tagsSetStylesAndWhatIsNoTagIsText) {
    CNamedImages images;
    images.images["set#dot"] = blockImage(4, 4, 0.0);
    images.images["shared::set#dot"] = blockImage(4, 4, 0.0);
    images.images["is.button#HR"] = blockImage(4, 4, 0.0);
    const struct {
        const char* text;
        const char* tokens;
    } cases[] = {
        {"", "/"},
        {"ab", "ab/"},
        {"a[B]b[I]c[/B]d[/I]e", "ab:B0c:X0d:I0e/"},
        {"[SUP][B]a[/SUP]b", "a:S0b:B0/"},
        {"[C1][C2]x[/C2]y[/C1]z", "x:.2y:.1z/"},
        {"[C2][C1]x[/C1]y", "x:.2y:.2/"},
        {"a[BR]b\nc", "a/b/c/"},
        {"[", "[/"},
        {"a[", "a[/"},
        {"[X]", "[X]/"},
        {"[b]", "[b]/"},
        {"[B", "[B/"},
        {"[/BR]", "[/BR]/"},
        {"[[B]a", "[a:B0/"},
        {"[IMG=set#dot]", "@/"},
        {"[IMG=set#dot:Go][IMG=set#dot:Stop][IMG=set#dot:Go]", "@0@1@0/"},
        {"[IMG=set#dot:a:b#c]", "@0/"},
        {"[IMG=shared::set#dot:Go]", "@0/"},
        {"[IMG=is.button#HR:Action]", "=0/"},
        {"[IMG=set#none]", "[IMG=set#none]/"},
        {"[IMG=setdot]", "[IMG=setdot]/"},
        {"[IMG=set#dot", "[IMG=set#dot/"},
        {"[IMG=[B]set#dot]", "[IMG=set#dot]/"}, // in bold
    };
    for (const auto& each : cases) {
        CVector<CString> actions;
        std::string found = describe(each.text, &images, actions);
        for (size_t bold; std::string(each.text).find("=[B]") != std::string::npos &&
                          (bold = found.find(":B0")) != std::string::npos;)
            found.erase(bold, 3);
        EXPECT_EQ(found, each.tokens) << each.text;
    }
}

TEST(TextMarkup, actionsAreListedOnceInOrder) {
    CNamedImages images;
    images.images["set#dot"] = blockImage(4, 4, 0.0);
    CVector<CString> actions;
    describe("[IMG=set#dot:Go][IMG=set#dot:a:b#c][IMG=set#dot:Go][IMG=no#dot:Not]", &images,
             actions);
    ASSERT_EQ(actions.ssize(), 2);
    EXPECT_EQ(actions[0], "Go");
    EXPECT_EQ(actions[1], "a:b#c");
}

TEST(TextMarkup, plainTextAndFaultsAreFoundWithoutImages) {
    const struct {
        const char* text;
        const char* plain;
        bool isBroken;
    } cases[] = {
        {"a[B]b[/B][IMG=x#y:z] c[BR]d", "ab c\nd", false},
        {"[X][", "[X][", false},
        {"[IMG=xy]", "[IMG=xy]", true},
        {"a[IMG=x#y", "a[IMG=x#y", true},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(textWithoutMarkup(each.text), each.plain) << each.text;
        EXPECT_EQ(hasBrokenImageTag(each.text), each.isBroken) << each.text;
    }
}
