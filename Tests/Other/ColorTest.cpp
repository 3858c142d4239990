#include "Core/CMemoryReader.h"
#include "Core/CWriteSeqBuffer.h"
#include "Other/CDynamicColorData.h"

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>

using namespace lum;

namespace {

uint32_t toneAt(const CColor& color, int index) {
    const uint8_t* entry = color.getTable()->entries[index];
    return static_cast<uint32_t>(entry[2] << 16 | entry[1] << 8 | entry[0]);
}

/// Lightness L of a grey, by the definition.
double lightnessOf(int grey) {
    const double v = grey / 255.0;
    const double y = v > 0.04045 ? std::pow((v + 0.055) / 1.055, 2.4) : v / 12.92;
    return y > 0.008856 ? 116.0 * std::cbrt(y) - 16.0 : 903.3 * y;
}

CColorValues valuesOf(uint32_t tone, uint32_t tone2 = kNoTone, uint32_t tone3 = kNoTone) {
    CColorValues values;
    values.tone = tone;
    values.tone2 = tone2;
    values.tone3 = tone3;
    return values;
}

} // namespace

// The coefficients have four digits, so a component may be off by one.
TEST(Color, theTopOfARampIsItsTone) {
    for (const uint32_t tone :
         {0u, 0xFFFFFFu, 0xF6EDCEu, 0x3875C6u, 0xB8120Fu, 0x0000FFu, 0x010203u}) {
        CColor color;
        color.compute(tone, 0.5, 0.75, 0.0);
        EXPECT_EQ(color.getOpacity(), 0.75);
        for (int shift = 0; shift < 24; shift += 8)
            EXPECT_NEAR(static_cast<int>(toneAt(color, 255) >> shift & 255),
                        static_cast<int>(tone >> shift & 255), 1)
                << std::hex << tone;
    }
}

TEST(Color, contrastShapesLightness) {
    CColor color;
    color.compute(0xFFFFFF, 0.5, 1.0, 0.0); // linear in L
    for (int i = 8; i < 256; i++)
        EXPECT_NEAR(lightnessOf(static_cast<int>(toneAt(color, i) & 255)), 100.0 * i / 255.0, 0.4);
    color.compute(0xFFFFFF, 0.0, 1.0, 0.0); // the square
    EXPECT_NEAR(lightnessOf(static_cast<int>(toneAt(color, 128) & 255)), 25.2, 0.4);
    color.compute(0x3875C6, 1.0, 1.0, 0.0); // flat
    for (int i = 0; i < 256; i++) EXPECT_EQ(toneAt(color, i), toneAt(color, 255));
    color.compute(0xF6EDCE, 0.6, 1.0, 0.0); // the darkest share one colour
    for (int i = 0; i < 8; i++) EXPECT_EQ(toneAt(color, i), toneAt(color, 8));
}

TEST(Color, brightnessMovesLightness) {
    CColor color;
    color.compute(0x808080, 0.5, 1.0, 10.0);
    EXPECT_NEAR(lightnessOf(static_cast<int>(toneAt(color, 255) & 255)), lightnessOf(128) + 10.0,
                0.3);
    for (const double value : {-200.0, 500.0, static_cast<double>(NAN), HUGE_VAL})
        color.compute(0x808080, value, value, value); // clamped, whatever comes
}

TEST(Color, theTableStaysInItsPlace) {
    CColor color;
    EXPECT_EQ(color.getTable(), nullptr);
    color.compute(1, 0.5, 1.0, 0.0);
    const CPaletteTable* table = color.getTable();
    const uint32_t generation = color.getGeneration();
    color.compute(2, 0.5, 1.0, 0.0);
    EXPECT_EQ(color.getTable(), table);
    EXPECT_EQ(color.getGeneration(), generation + 1);
}

TEST(DynamicColorData, gradientsGoThroughTheirTones) {
    CDynamicColorData data;
    struct {
        int size;
        uint32_t tone2, tone3;
        std::vector<uint32_t> expected; // of the ramps
    } const rows[] = {{1, 0xFFFFFF, 0xFF0000, {0x000000}},
                      {3, 0xFFFFFF, kNoTone, {0x000000, 0x808080, 0xFFFFFF}},
                      {5, 0x0000FF, 0xFF0000, {0x000000, 0x000080, 0x0000FF, 0x800080, 0xFF0000}}};
    for (const auto& row : rows) {
        data.setForm(row.size, false);
        data.setValues(valuesOf(0, row.tone2, row.tone3));
        for (int k = 0; k < row.size; k++) {
            CColor expected;
            expected.compute(row.expected[static_cast<size_t>(k)], 0.5, 1.0, 0.0);
            const double position = row.size == 1 ? 0.0 : k / (row.size - 1.0);
            EXPECT_EQ(toneAt(*data.getRamp(position), 255), toneAt(expected, 255)) << k;
        }
        EXPECT_EQ(data.getRamp(-0.1), data.getRamp(0.0));
        EXPECT_EQ(data.getRamp(1.1), data.getRamp(0.0));
    }
}

TEST(DynamicColorData, theSameValuesTwiceComputeNothing) {
    CDynamicColorData data;
    data.setForm(2, true);
    CColorValues values = valuesOf(0x808080, 0x404040);
    values.hoverBrightness = 6.0;
    EXPECT_TRUE(data.setValues(values));
    const uint32_t generation = data.getRamp(1.0)->getGeneration();
    values.contrast = std::nextafter(values.contrast, 1.0);
    EXPECT_FALSE(data.setValues(values));
    EXPECT_EQ(data.getRamp(1.0)->getGeneration(), generation);
    EXPECT_GT(toneAt(*data.getHoverRamp(), 255), toneAt(*data.getRamp(0.0), 255));
    values.hoverBrightness = 7.0;
    EXPECT_TRUE(data.setValues(values));
}

TEST(DynamicColorData, aRecordBringsRampsBackWithoutComputing) {
    for (const bool isHoverable : {false, true}) {
        CDynamicColorData data, copy;
        data.setForm(3, isHoverable);
        data.setValues(valuesOf(0xF6EDCE, 0x102030));
        CWriteSeqBuffer stream;
        ASSERT_FALSE(data.save(stream));
        CByteBuffer bytes;
        stream.getBytes(bytes);
        EXPECT_EQ(bytes.size(), 48 + (isHoverable ? 4u : 3u) * 776);
        CMemoryReader reader(bytes);
        ASSERT_FALSE(copy.load(reader, isHoverable));
        EXPECT_EQ(reader.bytesLeft(), 0);
        EXPECT_FALSE(copy.setValues(data.getValues()));
        EXPECT_EQ(std::memcmp(copy.getRamp(0.5)->getTable(), data.getRamp(0.5)->getTable(), 1024),
                  0);
        CMemoryReader wild(bytes.data(), 60); // more ramps than bytes
        EXPECT_TRUE(copy.load(wild, isHoverable));
        EXPECT_FALSE(copy.isComputed() && copy.getGradientSize() != 3);
    }
}
