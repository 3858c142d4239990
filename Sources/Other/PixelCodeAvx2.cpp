#include "Other/ImageRowWalker.h"

#include <cstddef>
#include <immintrin.h>

// Eight pixels a step, then four, then single ones: runs are short, and behind a run's bytes
// nothing may be read. Every blend but one is d + ((s - d) * w >> 15) with a weight per byte: on
// 16-bit lanes that is d + mulhi(2 * (s - d), w), exact with the same floor. An alpha at full
// opacity, (s - d) * a >> 8, is the weight a * 128 with 0 for the fourth byte.

namespace lum {

namespace {

inline __m256i load256(const uint8_t* from) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
}
inline __m128i load128(const uint8_t* from) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
}
inline void store256(uint8_t* to, __m256i value) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), value);
}
inline void store128(uint8_t* to, __m128i value) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), value);
}
template <class T>
inline int loadInt(const uint8_t* from) {
    T value;
    memcpy(&value, from, sizeof value);
    return static_cast<int>(value);
}
inline long long loadLong(const uint8_t* from) {
    long long value;
    memcpy(&value, from, sizeof value);
    return value;
}

inline __m256i mix(__m256i s, __m256i d, __m256i weight) {
    const __m256i difference = _mm256_slli_epi16(_mm256_sub_epi16(s, d), 1);
    return _mm256_add_epi16(d, _mm256_mulhi_epi16(difference, weight));
}
/// Blends pixels with a weight per 32-bit lane, in its lower 16 bits. Channels: 4, or 3 to keep the
/// fourth byte. Blue and red go through 16-bit lanes together, and so do green and the fourth byte:
/// that takes masks and shifts, of which a processor does more at once than shuffles.
template <int Channels>
inline __m256i blend(__m256i d, __m256i s, __m256i weight) {
    const __m256i lowByte = _mm256_set1_epi16(255);
    const __m256i both = _mm256_or_si256(weight, _mm256_slli_epi32(weight, 16));
    const __m256i even = mix(_mm256_and_si256(s, lowByte), _mm256_and_si256(d, lowByte), both);
    const __m256i odd =
        mix(_mm256_srli_epi16(s, 8), _mm256_srli_epi16(d, 8), Channels == 4 ? both : weight);
    return _mm256_or_si256(even, _mm256_slli_epi16(odd, 8));
}
/// Four pixels: the lower half of eight.
template <int Channels>
inline __m128i blend(__m128i d, __m128i s, __m128i weight) {
    return _mm256_castsi256_si128(blend<Channels>(
        _mm256_castsi128_si256(d), _mm256_castsi128_si256(s), _mm256_castsi128_si256(weight)));
}

// Sources of colours and of weights: eight, four or one from pixel i on.

struct COneColor {
    uint32_t value;
    uint32_t color(int) const { return value; }
    __m256i at8(int) const { return _mm256_set1_epi32(static_cast<int>(value)); }
    __m128i at4(int) const { return _mm_set1_epi32(static_cast<int>(value)); }
    __m128i at1(int) const { return _mm_cvtsi32_si128(static_cast<int>(value)); }
};

struct CRawPixels {
    const uint8_t* bytes;
    __m256i at8(int i) const { return load256(bytes + i * 4); }
    __m128i at4(int i) const { return load128(bytes + i * 4); }
    __m128i at1(int i) const { return _mm_cvtsi32_si128(loadInt<int32_t>(bytes + i * 4)); }
};

/// Pixels whose fourth byte is an alpha, which is no part of the colour.
struct CPixels {
    const uint8_t* bytes;
    __m256i at8(int i) const {
        return _mm256_or_si256(load256(bytes + i * 4), _mm256_set1_epi32(-0x1000000));
    }
    __m128i at4(int i) const {
        return _mm_or_si128(load128(bytes + i * 4), _mm_set1_epi32(-0x1000000));
    }
    __m128i at1(int i) const { return _mm_cvtsi32_si128(static_cast<int>(pixelAt(bytes + i * 4))); }
};

/// Palette colours; the indices lie `Stride` bytes apart.
template <int Stride>
struct CLookedUp {
    const uint8_t* indices;
    const uint8_t (*table)[4];
    uint32_t color(int i) const { return colorAt(table, indices[i * Stride]); }
    __m256i at8(int i) const { return _mm256_set_m128i(at4(i + 4), at4(i)); }
    __m128i at4(int i) const {
        const __m128i low = _mm_unpacklo_epi32(entry(i), entry(i + 1));
        const __m128i high = _mm_unpacklo_epi32(entry(i + 2), entry(i + 3));
        return _mm_or_si128(_mm_unpacklo_epi64(low, high), _mm_set1_epi32(-0x1000000));
    }
    __m128i entry(int i) const {
        return _mm_cvtsi32_si128(loadInt<int32_t>(table[indices[i * Stride]]));
    }
    __m128i at1(int i) const { return _mm_cvtsi32_si128(static_cast<int>(color(i))); }
};

struct COneWeight {
    int weight;
    __m256i at8(int) const { return _mm256_set1_epi32(weight); }
    __m128i at4(int) const { return _mm_set1_epi32(weight); }
    __m128i at1(int) const { return _mm_cvtsi32_si128(weight); }
};

/// Alpha bytes times a factor.
struct CAlphaBytes {
    const uint8_t* bytes;
    int factor;
    uint32_t alpha(int i) const { return bytes[i]; }
    __m256i at8(int i) const {
        const __m256i a = _mm256_cvtepu8_epi32(_mm_cvtsi64_si128(loadLong(bytes + i)));
        return _mm256_mullo_epi16(a, _mm256_set1_epi32(factor));
    }
    __m128i at4(int i) const {
        const __m128i a = _mm_cvtepu8_epi32(_mm_cvtsi32_si128(loadInt<int32_t>(bytes + i)));
        return _mm_mullo_epi16(a, _mm_set1_epi32(factor));
    }
    __m128i at1(int i) const { return _mm_cvtsi32_si128(bytes[i] * factor); }
};

/// The alpha of pairs of index and alpha.
struct CPairAlpha {
    const uint8_t* pairs;
    int factor;
    uint32_t alpha(int i) const { return pairs[i * 2 + 1]; }
    __m256i at8(int i) const {
        const __m256i a = _mm256_cvtepu16_epi32(_mm_srli_epi16(load128(pairs + i * 2), 8));
        return _mm256_mullo_epi16(a, _mm256_set1_epi32(factor));
    }
    __m128i at4(int i) const {
        const __m128i four = _mm_cvtsi64_si128(loadLong(pairs + i * 2));
        const __m128i a = _mm_cvtepu16_epi32(_mm_srli_epi16(four, 8));
        return _mm_mullo_epi16(a, _mm_set1_epi32(factor));
    }
    __m128i at1(int i) const { return _mm_cvtsi32_si128(pairs[i * 2 + 1] * factor); }
};

/// The alpha of 4-byte pixels.
struct CPixelAlpha {
    const uint8_t* bytes;
    int factor;
    __m256i at8(int i) const {
        return _mm256_mullo_epi16(_mm256_srli_epi32(load256(bytes + i * 4), 24),
                                  _mm256_set1_epi32(factor));
    }
    __m128i at4(int i) const {
        return _mm_mullo_epi16(_mm_srli_epi32(load128(bytes + i * 4), 24), _mm_set1_epi32(factor));
    }
    __m128i at1(int i) const { return _mm_cvtsi32_si128(bytes[i * 4 + 3] * factor); }
};

/// Coverage of a stroke times its opacity; too little coverage weighs nothing.
struct CCoverage {
    const uint8_t* mask;
    int opacity;
    __m256i at8(int i) const {
        const __m256i m = _mm256_cvtepu8_epi32(_mm_cvtsi64_si128(loadLong(mask + i)));
        const __m256i isDrawn = _mm256_cmpgt_epi32(m, _mm256_set1_epi32(kLowestCoverage));
        const __m256i weight = _mm256_mullo_epi16(m, _mm256_set1_epi32(opacity));
        return _mm256_and_si256(weight, isDrawn);
    }
    __m128i at4(int i) const {
        const __m128i m = _mm_cvtepu8_epi32(_mm_cvtsi32_si128(loadInt<int32_t>(mask + i)));
        const __m128i isDrawn = _mm_cmpgt_epi32(m, _mm_set1_epi32(kLowestCoverage));
        return _mm_and_si128(_mm_mullo_epi16(m, _mm_set1_epi32(opacity)), isDrawn);
    }
    __m128i at1(int i) const {
        return _mm_cvtsi32_si128(mask[i] > kLowestCoverage ? mask[i] * opacity : 0);
    }
};

/// One pixel with an alpha; the fourth byte stays. d + ((s - d) * a >> 8) is the same number as
/// d * (256 - a) + s * a >> 8, which has no sign, so two channels go through one multiplication.
inline void blendAlpha(uint8_t* target, uint32_t s, uint32_t alpha) {
    const auto d = static_cast<uint32_t>(loadInt<int32_t>(target));
    const uint32_t outer = (d & 0xFF00FF) * (256 - alpha) + (s & 0xFF00FF) * alpha;
    const uint32_t inner = (d & 0xFF00) * (256 - alpha) + (s & 0xFF00) * alpha;
    const uint32_t pixel = (d & kFourthByte) | (outer >> 8 & 0xFF00FF) | (inner >> 8 & 0xFF00);
    memcpy(target, &pixel, sizeof pixel);
}

template <int Channels, class Source, class Weight>
inline void blendRow(uint8_t* target, int count, Source source, Weight weight) {
    int i = 0;
    for (; i + 8 <= count; i += 8) {
        uint8_t* at = target + i * 4;
        store256(at, blend<Channels>(load256(at), source.at8(i), weight.at8(i)));
    }
    if (i + 4 <= count) {
        uint8_t* at = target + i * 4;
        store128(at, blend<Channels>(load128(at), source.at4(i), weight.at4(i)));
        i += 4;
    }
    for (; i < count; i++) {
        uint8_t* at = target + i * 4;
        if constexpr (Channels == 3) {
            blendAlpha(at, source.color(i), weight.alpha(i));
            continue;
        }
        const __m128i d = _mm_cvtsi32_si128(loadInt<int32_t>(at));
        const int pixel = _mm_cvtsi128_si32(blend<Channels>(d, source.at1(i), weight.at1(i)));
        memcpy(at, &pixel, sizeof pixel);
    }
}

/// Eight pixels and a colour for each alpha; 255 stores it.
inline __m256i blendAlphas(__m256i d, __m256i color, const uint8_t* alphas) {
    const __m256i alpha = _mm256_cvtepu8_epi32(_mm_cvtsi64_si128(loadLong(alphas)));
    const __m256i blended = blend<3>(d, color, _mm256_slli_epi32(alpha, 7));
    return _mm256_blendv_epi8(blended, color, _mm256_cmpeq_epi32(alpha, _mm256_set1_epi32(255)));
}

struct CAvx2Ops {
    static void fill(uint8_t* target, int count, uint32_t color) {
        if (count < 8) { // as most runs are
            for (int i = 0; i < count; i++) memcpy(target + i * 4, &color, sizeof color);
            return;
        }
        // Aligned stores; the first and the last one, which may overlap them, are not.
        const __m256i eight = _mm256_set1_epi32(static_cast<int>(color));
        uint8_t* const end = target + count * 4;
        store256(target, eight);
        auto* wide =
            reinterpret_cast<__m256i*>((reinterpret_cast<uintptr_t>(target) + 32) & ~31ULL);
        auto* const last = reinterpret_cast<__m256i*>(end);
        for (; wide + 4 <= last; wide += 4)
            for (int i = 0; i < 4; i++) _mm256_store_si256(wide + i, eight);
        for (; wide + 1 <= last; wide++) _mm256_store_si256(wide, eight);
        store256(end - 32, eight);
    }
    static void blendColor(uint8_t* target, int count, uint32_t color, int weight) {
        blendRow<4>(target, count, COneColor{color}, COneWeight{weight});
    }
    static void blendPixels(uint8_t* target, const uint8_t* source, int count, int weight) {
        blendRow<4>(target, count, CRawPixels{source}, COneWeight{weight});
    }
    static void blendMask(uint8_t* target, const uint8_t* mask, int count, uint32_t color,
                          int opacity) {
        blendRow<4>(target, count, COneColor{color}, CCoverage{mask, opacity});
    }

    static void alphaColor(uint8_t* target, const uint8_t* alpha, int count, uint32_t color) {
        blendRow<3>(target, count, COneColor{color}, CAlphaBytes{alpha, 128});
    }
    // Here the product needs 31 bits, so a pixel takes four 32-bit lanes.
    static void alphaColorPartial(uint8_t* target, const uint8_t* alpha, int count, uint32_t color,
                                  int opacity) {
        const __m128i one = _mm_cvtepu8_epi32(_mm_cvtsi32_si128(static_cast<int>(color)));
        for (int i = 0; i < count; i++) {
            uint8_t* at = target + i * 4;
            const int weight = alpha[i] * opacity;
            const __m128i d = _mm_cvtepu8_epi32(_mm_cvtsi32_si128(loadInt<int32_t>(at)));
            const __m128i product =
                _mm_mullo_epi32(_mm_sub_epi32(one, d), _mm_setr_epi32(weight, weight, weight, 0));
            __m128i result = _mm_add_epi32(d, _mm_srai_epi32(product, 23));
            result = _mm_packus_epi32(result, result);
            const int pixel = _mm_cvtsi128_si32(_mm_packus_epi16(result, result));
            memcpy(at, &pixel, sizeof pixel);
        }
    }

    static void alphaRect(const CAlphaRect& rect) {
        const int whole = rect.width & ~7;
        const int rest = rect.width - whole;
        const __m256i color = _mm256_set1_epi32(static_cast<int>(rect.color));
        // What lies right of the rectangle may be another thread's.
        const __m256i isInside =
            _mm256_cmpgt_epi32(_mm256_set1_epi32(rest), _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7));
        for (int y = 0; y < rect.height; y++) {
            uint8_t* target = rect.target + static_cast<ptrdiff_t>(y) * rect.targetStride;
            const uint8_t* alpha = rect.alpha + static_cast<ptrdiff_t>(y) * rect.alphaStride;
            for (int x = 0; x < whole; x += 8) {
                uint8_t* at = target + x * 4;
                store256(at, blendAlphas(load256(at), color, alpha + x));
            }
            if (rest > 2) {
                auto* at = reinterpret_cast<int*>(target + whole * 4);
                const __m256i d = _mm256_maskload_epi32(at, isInside);
                _mm256_maskstore_epi32(at, isInside, blendAlphas(d, color, alpha + whole));
                continue;
            }
            for (int x = whole; x < rect.width; x++) {
                if (alpha[x] == 255)
                    memcpy(target + x * 4, &rect.color, sizeof rect.color);
                else
                    blendAlpha(target + x * 4, rect.color, alpha[x]);
            }
        }
    }

    static void alphaPairs(uint8_t* target, const uint8_t* pairs, int count,
                           const uint8_t (*table)[4]) {
        blendRow<3>(target, count, CLookedUp<2>{pairs, table}, CPairAlpha{pairs, 128});
    }
    static void weightPairs(uint8_t* target, const uint8_t* pairs, int count,
                            const uint8_t (*table)[4], int factor) {
        blendRow<4>(target, count, CLookedUp<2>{pairs, table}, CPairAlpha{pairs, factor});
    }
    static void blendIndices(uint8_t* target, const uint8_t* indices, int count,
                             const uint8_t (*table)[4], int weight) {
        blendRow<4>(target, count, CLookedUp<1>{indices, table}, COneWeight{weight});
    }
    static void weightPixels(uint8_t* target, const uint8_t* source, int count, int factor) {
        blendRow<4>(target, count, CPixels{source}, CPixelAlpha{source, factor});
    }
};

constexpr CPixelCode kAvx2Code = pixelCodeOf<CAvx2Ops>("avx2");

} // namespace

const CPixelCode& avx2PixelCode() noexcept {
    return kAvx2Code;
}

} // namespace lum
