#include "Core/CLog.h"
#include "Core/CMemoryReader.h"
#include "Core/CWriteSeqBuffer.h"
#include "Core/TempFolder.h"
#include "Core/TreeFixture.h"
#include "Other/CAreaFitter.h"
#include "Other/CImageSetObject.h"
#include "Other/COtherCreators.h"
#include "Other/PixelFixture.h"

#include <cmath>
#include <cstring>
#include <thread>

using namespace lum;

namespace {

CByteBuffer save(CImageSet& set) {
    CWriteSeqBuffer stream;
    EXPECT_FALSE(set.save(stream));
    CByteBuffer out;
    stream.getBytes(out);
    return out;
}

CErrorResult load(CImageSet& set, const CByteBuffer& bytes, bool isInPlace = true) {
    CMemoryReaderStatic inPlace(bytes.data(), static_cast<int32_t>(bytes.size()));
    CMemoryReader copying(bytes);
    return set.load(isInPlace ? static_cast<CPosInputStream&>(inPlace) : copying);
}

/// A set of one image per pixel kind, at indices 1, 3 and 5; index 5 has a second layer with runs.
void fillSet(CImageSet& set, CNoise& noise) {
    for (const int kind : {0, 1, 2}) {
        auto image = std::make_unique<CImage>();
        const int width = noise.number(1, 90);
        const int height = noise.number(1, 30);
        image->layers.push_back(layerOf(noise.image(width, height, kPixelKinds[kind]), width,
                                        height, kPixelKinds[kind]));
        CImageLayer& layer = *image->layers[0];
        layer.offsetX = -7;
        layer.offsetY = kind;
        layer.extraWidth = 2;
        layer.extraHeight = 3;
        layer.alignFlags = kind * 5;
        layer.advance = 8.25;
        layer.colorSlot = kind;
        set.setImage(kind * 2 + 1, std::move(image));
    }
    auto coded = std::make_unique<CImageLayer>();
    coded->width = 6;
    coded->height = 2;
    coded->bytesPerPixel = 2;
    coded->setRuns(encodeRuns(noise.image(6, 2, 2).data(), 6, 2, 12, 2));
    const_cast<CImage*>(set.getImage(5))->layers.push_back(std::move(coded));
    set.setRange("", 1, 3);
    set.setRange("Active", 3, 5);
}

CPixelBytes drawn(const CImageLayer& layer, double scale) {
    CLinearBitmap bitmap;
    EXPECT_FALSE(bitmap.setSize(120, 60, true));
    bitmap.drawImage(CImagePlacement::prepare(layer, scale, {}, 1.0), 12, 4, bitmap.bounds());
    return bytesOf(bitmap);
}

class ImageSetObject : public CTreeTest {
protected:
    void SetUp() override {
        static const CCreatorRow* const kTables[] = {kCoreCreators, kOtherCreators, nullptr};
        ASSERT_FALSE(CApplication::start({kTables, nullptr, nullptr}));
        ASSERT_FALSE(CApplication::get()->initSharedObject(""));
        ASSERT_FALSE(CApplication::get()->initRootObject(root, ""));
    }
};

} // namespace

TEST(ImageSet, savedAndLoadedSetsDrawTheSame) {
    for (unsigned seed = 1; seed <= 40; seed++) {
        CNoise noise(seed);
        CImageSet made, loaded;
        fillSet(made, noise);
        const CByteBuffer bytes = save(made);
        ASSERT_FALSE(load(loaded, bytes, seed % 2 == 0)) << seed;
        EXPECT_EQ(loaded.getImageLimit(), 6);
        EXPECT_EQ(loaded.getRanges().size(), 2u);
        for (int index = -1; index < 8; index++) {
            const CImage* a = made.getImage(index);
            const CImage* b = loaded.getImage(index);
            ASSERT_EQ(a != nullptr, b != nullptr) << index;
            if (!a) continue;
            ASSERT_EQ(a->layers.size(), b->layers.size());
            for (int i = 0; i < a->layers.ssize(); i++) {
                const CImageLayer& x = *a->layers[i];
                const CImageLayer& y = *b->layers[i];
                EXPECT_EQ(std::tie(x.width, x.height, x.offsetX, x.offsetY, x.extraWidth,
                                   x.extraHeight, x.alignFlags, x.toneIndex, x.colorSlot, x.scale,
                                   x.advance, x.bytesPerPixel),
                          std::tie(y.width, y.height, y.offsetX, y.offsetY, y.extraWidth,
                                   y.extraHeight, y.alignFlags, y.toneIndex, y.colorSlot, y.scale,
                                   y.advance, y.bytesPerPixel));
                EXPECT_EQ(drawn(x, 2.0), drawn(y, 2.0));
                EXPECT_EQ(drawn(x, 1.25), drawn(y, 1.25));
            }
        }
    }
}

// The rectangles on a page keep their distance, and the page's pixels are those that were given.
TEST(ImageSet, theAtlasHoldsEachImageWithItsBorder) {
    CNoise noise(4);
    CImageSet set;
    std::vector<CPixelBytes> given;
    for (int i = 0; i < 120; i++) {
        const int width = noise.number(1, 200);
        const int height = noise.number(1, 100);
        given.push_back(noise.bytes(width * height));
        auto image = std::make_unique<CImage>();
        image->layers.push_back(layerOf(given.back(), width, height, 1));
        set.setImage(i, std::move(image));
    }
    save(set);
    for (int i = 0; i < 120; i++) {
        const CImageLayer& a = *set.getImage(i)->layers[0];
        const CImagePage* page = set.getTexture(a.textureIndex);
        ASSERT_TRUE(page);
        EXPECT_LE(page->width, 1024);
        EXPECT_LE(page->height, 1024);
        EXPECT_TRUE(a.textureX >= 2 && a.textureY >= 2 && a.textureX + a.width + 3 <= page->width &&
                    a.textureY + a.height + 3 <= page->height);
        for (int y = 0; y < a.height; y++)
            EXPECT_EQ(std::memcmp(a.getPixels().pixels + y * page->width,
                                  given[static_cast<size_t>(i)].data() + y * a.width,
                                  static_cast<size_t>(a.width)),
                      0);
        for (int j = 0; j < i; j++) {
            const CImageLayer& b = *set.getImage(j)->layers[0];
            const bool isApart =
                a.textureIndex != b.textureIndex || a.textureX >= b.textureX + b.width + 5 ||
                b.textureX >= a.textureX + a.width + 5 || a.textureY >= b.textureY + b.height + 5 ||
                b.textureY >= a.textureY + a.height + 5;
            EXPECT_TRUE(isApart) << i << ", " << j;
        }
    }
}

TEST(ImageSet, theFitterWastesLittle) {
    CNoise noise(8);
    CAreaFitter fitter;
    int64_t area = 0;
    for (int i = 0; i < 300; i++) {
        const int width = noise.number(8, 120);
        const int height = noise.number(8, 120);
        fitter.add(width, height);
        area += width * height;
    }
    ASSERT_TRUE(fitter.fitAreas());
    int64_t used = 0;
    for (const CFitPage& page : fitter.getPages()) used += int64_t{page.width} * page.height;
    EXPECT_LT(static_cast<double>(used), 1.35 * static_cast<double>(area));
    CAreaFitter tooBig;
    tooBig.add(32768, 1);
    EXPECT_FALSE(tooBig.fitAreas());
}

TEST(ImageSet, anotherVersionIsAnEmptySetAndNoFailure) {
    CNoise noise(1);
    CImageSet set;
    fillSet(set, noise);
    CByteBuffer bytes = save(set);
    bytes.data()[0] = 2;
    EXPECT_FALSE(load(set, bytes));
    EXPECT_EQ(set.getImageLimit(), 0);
    EXPECT_TRUE(set.getRanges().empty());
}

// Each cut of a file fails; the set can be loaded again afterwards.
TEST(ImageSet, aShortFileFailsAtEveryLength) {
    CNoise noise(2);
    CImageSet made, set;
    fillSet(made, noise);
    const CByteBuffer bytes = save(made);
    for (size_t size = 0; size < bytes.size(); size += size < 200 ? 1 : 13) {
        const CByteBuffer cut(bytes.data(), size);
        const CErrorResult error = load(set, cut, size % 2 == 0);
        EXPECT_TRUE(error) << size;
        EXPECT_FALSE(error.line(0).empty());
    }
    EXPECT_FALSE(load(set, bytes));
    EXPECT_EQ(set.getImageLimit(), 6);
}

TEST(ImageSet, rangesAreFoundByName) {
    const CTempFolder folder;
    setLogPath(folder / "log");
    CImageSet set;
    set.setRange("Active", 12, 14);
    EXPECT_EQ(set.findRange("Active"), 12);
    EXPECT_EQ(set.findRange(""), 0);
    EXPECT_EQ(set.findRange("Nowhere"), 0);
    setLogPath("");
    EXPECT_EQ(folder.get("log"), "Range not found <Nowhere>\r\n");
}

TEST(ImageSet, tonesComeFromTheFirstPixels) {
    EXPECT_EQ(layerOf({9, 1, 8, 2}, 2, 1, 2)->toneIndex, 9);
    EXPECT_EQ(layerOf({}, 0, 0, 2)->toneIndex, 255);
    EXPECT_EQ(layerOf(CPixelBytes(20, 7), 5, 1, 4)->toneIndex, 255);
    // Row and column 0 do not count.
    CPixelBytes colors(3 * 3 * 4, 200);
    const int inner[] = {4, 5, 7, 8};
    for (int i = 0; i < 4; i++) colors[static_cast<size_t>(inner[i] * 4)] = static_cast<uint8_t>(i);
    EXPECT_EQ(layerOf(colors, 3, 3, 4)->toneIndex, 2); // 1.5, rounded
}

TEST(ImageSet, placementsRoundAsTheLayerAsks) {
    const auto layer = layerOf(CPixelBytes(11 * 11), 11, 11, 1);
    layer->offsetX = -3;
    layer->offsetY = 5;
    CImagePlacement same = CImagePlacement::place(*layer, 2.0, {}, 1.0);
    EXPECT_EQ(std::tie(same.offsetX, same.offsetY, same.width, same.height),
              std::tuple(-3, 5, 11, 11));
    EXPECT_EQ(same.ratio, 1.0);
    EXPECT_EQ(same.data, nullptr);
    for (const int align : {0, 1, 2}) {
        layer->alignFlags = align | align << 2;
        const CImagePlacement half = CImagePlacement::place(*layer, 1.0, {}, 1.0);
        // x: starts at floor(-1.5) = -2, half a pixel early: 11 + 1 source pixels are 6.
        EXPECT_EQ(std::tie(half.offsetX, half.width), std::tuple(-2, 6));
        EXPECT_EQ(half.phaseX, -1.0 + 0.5);
        // y: starts at floor(2.5) = 2, also half early: 6, nothing left over.
        EXPECT_EQ(std::tie(half.offsetY, half.height), std::tuple(2, 6));
        const CImagePlacement odd = CImagePlacement::place(*layer, 1.5, {}, 1.0);
        // x: floor(-2.25) = -3 is the source position -4: 12 source pixels are 9.
        EXPECT_EQ(std::tie(odd.offsetX, odd.width), std::tuple(-3, 9));
        // y: floor(3.75) = 3 is 4: 12 again.
        EXPECT_EQ(std::tie(odd.offsetY, odd.height), std::tuple(3, 9));
        const CImagePlacement small = CImagePlacement::place(*layer, 0.8, {}, 1.0);
        // x: floor(-1.2) = -2 is -5: 13 source pixels are 5.2, so 6, and 0.8 * 2.5 are left over.
        EXPECT_EQ(small.width, 6);
        const double lastSample = small.phaseX + (small.width - 1) * small.ratio;
        const double farEdge = lastSample + (small.ratio + 1.0) / 2.0;
        EXPECT_NEAR(farEdge, 11.0 + (2 - align) * 0.8 * 2.5 / 2.0, 1e-9);
    }
    const auto empty = layerOf({}, 0, 0, 1);
    empty->offsetX = 1;
    EXPECT_EQ(CImagePlacement::place(*empty, 1.0, {}, 1.0).width, 0);
}

TEST(ImageSet, placementOpacities) {
    struct {
        double color, opacity;
        int fixed;
        bool isPartial;
    } const rows[] = {{1.0, 1.0, 32768, false}, {1.0, 0.9962, 32643, false}, {0.5, 0.5, 8192, true},
                      {0.1, 0.049, 0, true},    {0.1, 0.05, 164, true},      {1.0, 0.0, 0, true}};
    const auto layer = layerOf({1}, 1, 1, 1);
    for (const auto& row : rows) {
        const auto place = CImagePlacement::place(*layer, 2.0, {row.color, nullptr}, row.opacity);
        EXPECT_EQ(place.fixedOpacity, row.fixed) << row.opacity;
        EXPECT_EQ(place.isPartial, row.isPartial) << row.opacity;
    }
}

TEST(ImageSet, aScaledImageKeepsItsLook) {
    // A disc keeps its area and its middle through scales; alpha is the only byte.
    constexpr int kSide = 40;
    CPixelBytes disc;
    for (int y = 0; y < kSide; y++)
        for (int x = 0; x < kSide; x++)
            disc.push_back(std::hypot(x - 19.5, y - 19.5) < 15.0 ? 255 : 0);
    const auto layer = layerOf(disc, kSide, kSide, 1);
    for (const double scale : {0.8, 1.0, 1.25, 1.5, 1.75, 2.0}) {
        CLinearBitmap bitmap;
        ASSERT_FALSE(bitmap.setSize(60, 60, true));
        bitmap.drawImage(CImagePlacement::prepare(*layer, scale, {}, 1.0), 0, 0, bitmap.bounds());
        double mass = 0.0, x0 = 0.0, y0 = 0.0;
        for (int y = 0; y < 60; y++)
            for (int x = 0; x < 60; x++) {
                const double value = bitmap.row(y)[x * 4] / 255.0;
                mass += value;
                x0 += value * (x + 0.5);
                y0 += value * (y + 0.5);
            }
        const double k = scale / 2.0;
        EXPECT_NEAR(mass, 709 * k * k, 709 * k * k * 0.02) << scale;
        EXPECT_NEAR(x0 / mass, 20 * k, 0.05) << scale;
        EXPECT_NEAR(y0 / mass, 20 * k, 0.05) << scale;
    }
}

TEST(ImageSet, threadsThatPrepareOneLayerEndWithOneVariant) {
    CNoise noise(6);
    for (int round = 0; round < 20; round++) {
        const auto layer = layerOf(noise.image(90, 60, 2), 90, 60, 2);
        const CImageLayerData* got[4] = {};
        std::vector<std::thread> workers;
        for (int i = 0; i < 4; i++)
            workers.emplace_back([&, i] { got[i] = layer->getVariant(1.25); });
        for (std::thread& worker : workers) worker.join();
        EXPECT_EQ(layer->getVariantCount(), 1);
        for (const CImageLayerData* variant : got) EXPECT_EQ(variant, got[0]);
        EXPECT_NE(layer->getVariant(2.0), got[0]);
        EXPECT_EQ(layer->getVariantCount(), 2);
    }
}

TEST_F(ImageSetObject, loadsItsFile) {
    const CTempFolder folder;
    CNoise noise(3);
    CImageSet set;
    fillSet(set, noise);
    const CByteBuffer bytes = save(set);
    folder.put("a.is", {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    CAttrMap attributes;
    attributes["file"] = CAttrEntry::ofString(folder / "a.is");
    CImageSetObject* object = nullptr;
    ASSERT_FALSE(root->createChild(object, "imageset", "button", false, &attributes));
    EXPECT_EQ(object->getImageSet().findRange("Active"), 3);
    EXPECT_TRUE(object->getImageSet().getImage(5));
    attributes["file"] = CAttrEntry::ofString(folder / "b.is");
    EXPECT_TRUE(root->createChild(object, "imageset", "missing", false, &attributes));
}
