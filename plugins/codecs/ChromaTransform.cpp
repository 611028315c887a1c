// Compiled for AVX2 (see CMakeLists.txt): nothing of the standard library may be instantiated here,
// where the linker could choose it for other processors as well.
#include "plugins/codecs/ChromaTransform.h"

#include <immintrin.h>

namespace Terrascope::Codecs {

namespace {

using Lanes = __m256i;  // 16 numbers of 16 bits or 8 of 32, in two halves of 128 bits

constexpr int kCosineBits = 13;
constexpr int kExtraBits = 2;  // kept between the passes
constexpr int kFirstShift = kCosineBits - kExtraBits;
constexpr int kSecondShift = kCosineBits + kExtraBits + 3;  // 3: the transform's own factor

/// Output k of 16 takes coefficient j with this weight: 2^13 sqrt(2) cos((2k + 1) j pi / 32), 2^13
/// for j = 0. Some are one off the rounded cosine: the shared arithmetic adds up several rounded
/// constants. Output 15 - k has the signs of odd j reversed.
constexpr std::int16_t kWeights[8][8] = {{8192, 11529, 11363, 11086, 10703, 10217, 9632, 8956},
                                         {8192, 11086, 9633, 7350, 4433, 1136, -2260, -5461},
                                         {8192, 10217, 6437, 1136, -4433, -8955, -11363, -11086},
                                         {8192, 8956, 2260, -5461, -10703, -11086, -6436, 1137},
                                         {8192, 7350, -2260, -10217, -10703, -3363, 6436, 11529},
                                         {8192, 5461, -6437, -11529, -4433, 7349, 11363, 3363},
                                         {8192, 3363, -9633, -8955, 4433, 11529, 2260, -10217},
                                         {8192, 1136, -11363, -3363, 10703, 5461, -9632, -7350}};

/// The sum of coefficients j and j + 2, which lie side by side in each 32 bits, for output k.
Lanes Weighted(Lanes pairs, int k, int j) {
    const auto low = static_cast<std::uint16_t>(kWeights[k][j]);
    const auto high = static_cast<std::uint16_t>(kWeights[k][j + 2]);
    return _mm256_madd_epi16(
        pairs, _mm256_set1_epi32(static_cast<int>(static_cast<std::uint32_t>(high) << 16 | low)));
}

/// Eight columns or rows of coefficients: 0 and 2, 1 and 3, 4 and 6, 5 and 7 side by side.
struct Coefficients {
    Lanes p02;
    Lanes p13;
    Lanes p46;
    Lanes p57;
};

/// Outputs k and 15 - k of eight transforms, divided by 2^Shift and rounded.
struct Outputs {
    Lanes first;
    Lanes last;
};

/// With `Few`, coefficients 4 to 7 are zero.
template <bool Few, int Shift>
Outputs Transform(const Coefficients& in, int k) {
    Lanes even = _mm256_add_epi32(Weighted(in.p02, k, 0), _mm256_set1_epi32(1 << (Shift - 1)));
    Lanes odd = Weighted(in.p13, k, 1);
    if constexpr (!Few) {
        even = _mm256_add_epi32(even, Weighted(in.p46, k, 4));
        odd = _mm256_add_epi32(odd, Weighted(in.p57, k, 5));
    }
    return {_mm256_srai_epi32(_mm256_add_epi32(even, odd), Shift),
            _mm256_srai_epi32(_mm256_sub_epi32(even, odd), Shift)};
}

Lanes Interleaved(__m128i a, __m128i b) {
    return _mm256_set_m128i(_mm_unpackhi_epi16(a, b), _mm_unpacklo_epi16(a, b));
}

/// The 32 bits that the mask names: two of each half of a, then two of each half of b.
template <int Mask>
Lanes Chosen(Lanes a, Lanes b) {
    return _mm256_castps_si256(
        _mm256_shuffle_ps(_mm256_castsi256_ps(a), _mm256_castsi256_ps(b), Mask));
}

/// Of eight rows between the passes, two in each vector, the coefficients of the second pass.
Coefficients TurnedAround(const Lanes* rows) {
    const Lanes even0 = Chosen<0x88>(rows[0], rows[1]);
    const Lanes odd0 = Chosen<0xDD>(rows[0], rows[1]);
    const Lanes even4 = Chosen<0x88>(rows[2], rows[3]);
    const Lanes odd4 = Chosen<0xDD>(rows[2], rows[3]);
    return {
        _mm256_permute2x128_si256(even0, even4, 0x20), _mm256_permute2x128_si256(odd0, odd4, 0x20),
        _mm256_permute2x128_si256(even0, even4, 0x31), _mm256_permute2x128_si256(odd0, odd4, 0x31)};
}

/// Columns down to 16 rows between the passes, two in each vector: [a: 0 2 1 3 | b: 0 2 1 3] in the
/// lower half, [a: 4 6 5 7 | b: 4 6 5 7] in the upper one.
template <bool Few>
void TransformColumns(const Coefficients& in, Lanes* rows) {
#pragma GCC unroll 4
    for (int pair = 0; pair < 4; ++pair) {
        const Outputs a = Transform<Few, kFirstShift>(in, 2 * pair);
        const Outputs b = Transform<Few, kFirstShift>(in, 2 * pair + 1);
        rows[pair] = _mm256_packs_epi32(a.first, b.first);
        rows[7 - pair] = _mm256_packs_epi32(b.last, a.last);
    }
}

/// Eight columns of samples, of which columns[i] and columns[i + 4] ... lie side by side in bytes,
/// to rows: `Interleave` takes the lower or the upper eight bytes of each half.
template <class Interleave>
void ToRows(const Lanes* columns, const Interleave& interleave, Lanes* rows) {
    Lanes twos[4];
    for (int i = 0; i < 4; ++i) {
        twos[i] = interleave(columns[i], columns[i + 4]);
    }
    const Lanes even0 = _mm256_unpacklo_epi8(twos[0], twos[2]);
    const Lanes even8 = _mm256_unpackhi_epi8(twos[0], twos[2]);
    const Lanes odd0 = _mm256_unpacklo_epi8(twos[1], twos[3]);
    const Lanes odd8 = _mm256_unpackhi_epi8(twos[1], twos[3]);
    rows[0] = _mm256_unpacklo_epi8(even0, odd0);
    rows[1] = _mm256_unpackhi_epi8(even0, odd0);
    rows[2] = _mm256_unpacklo_epi8(even8, odd8);
    rows[3] = _mm256_unpackhi_epi8(even8, odd8);
}

void Store(Lanes rows, std::uint8_t* upper, std::uint8_t* lower) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(upper), _mm256_castsi256_si128(rows));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(lower), _mm256_extracti128_si256(rows, 1));
}

/// The second pass: rows across to samples.
template <bool Few>
void TransformRows(const Lanes* between, std::uint8_t* const* rows, std::size_t column) {
    const Coefficients upper = TurnedAround(between);
    const Coefficients lower = TurnedAround(between + 4);
    // Each holds a column: rows 0 to 3 and 8 to 11 in the lower half, 4 to 7 and 12 to 15 in the
    // upper one.
    Lanes columns[16];
#pragma GCC unroll 8
    for (int k = 0; k < 8; ++k) {
        const Outputs a = Transform<Few, kSecondShift>(upper, k);
        const Outputs b = Transform<Few, kSecondShift>(lower, k);
        columns[k] = _mm256_packs_epi32(a.first, b.first);
        columns[15 - k] = _mm256_packs_epi32(a.last, b.last);
    }
    const Lanes middle = _mm256_set1_epi8(-128);  // samples are about 0, the middle of a byte
    Lanes bytes[8];
    for (int i = 0; i < 8; ++i) {
        bytes[i] = _mm256_xor_si256(_mm256_packs_epi16(columns[i], columns[i + 8]), middle);
    }
    Lanes left[4];
    Lanes right[4];
    ToRows(
        bytes, [](Lanes a, Lanes b) { return _mm256_unpacklo_epi8(a, b); }, left);
    ToRows(
        bytes, [](Lanes a, Lanes b) { return _mm256_unpackhi_epi8(a, b); }, right);
    for (int i = 0; i < 4; ++i) {
        const int y = i / 2 * 8 + i % 2 * 2;
        Store(_mm256_unpacklo_epi64(left[i], right[i]), rows[y] + column, rows[y + 4] + column);
        Store(_mm256_unpackhi_epi64(left[i], right[i]), rows[y + 1] + column, rows[y + 5] + column);
    }
}

/// Nothing but the mean of the block.
void Fill(int mean, std::uint8_t* const* rows, std::size_t column) {
    const int sample = (mean * (1 << kExtraBits) + 16) >> 5;
    const int byte = sample < -128 ? 0 : sample > 127 ? 255 : sample + 128;
    const __m128i value = _mm_set1_epi8(static_cast<char>(byte));
    for (int y = 0; y < 16; ++y) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(rows[y] + column), value);
    }
}

bool IsZero(__m128i value) {
    return _mm_testz_si128(value, value) != 0;
}

}  // namespace

void TransformTo16(const std::int16_t* coefficients, const std::uint16_t* quantisation,
                   std::uint8_t* const* rows, std::size_t column) {
    const auto load = [](const void* from) {
        return _mm_loadu_si128(static_cast<const __m128i*>(from));
    };
    __m128i in[8];
    for (std::size_t y = 0; y < 8; ++y) {
        in[y] = _mm_mullo_epi16(load(coefficients + y * 8), load(quantisation + y * 8));
    }
    const __m128i lower = _mm_or_si128(_mm_or_si128(in[4], in[5]), _mm_or_si128(in[6], in[7]));
    const __m128i rest = _mm_or_si128(_mm_or_si128(in[1], in[2]), _mm_or_si128(in[3], lower));
    if (IsZero(_mm_or_si128(rest, _mm_srli_si128(in[0], 2)))) {
        Fill(static_cast<std::int16_t>(_mm_extract_epi16(in[0], 0)), rows, column);
        return;
    }
    // Columns 0 2 1 3 4 6 5 7: the second pass wants them side by side.
    for (__m128i& row : in) {
        row = _mm_shufflehi_epi16(_mm_shufflelo_epi16(row, 0xD8), 0xD8);
    }
    const Coefficients pairs{Interleaved(in[0], in[2]), Interleaved(in[1], in[3]),
                             Interleaved(in[4], in[6]), Interleaved(in[5], in[7])};
    Lanes between[8];
    if (IsZero(lower)) {
        TransformColumns<true>(pairs, between);
    } else {
        TransformColumns<false>(pairs, between);
    }
    // Most blocks of chroma have nothing in the right half.
    if (IsZero(_mm_srli_si128(_mm_or_si128(rest, in[0]), 8))) {
        TransformRows<true>(between, rows, column);
    } else {
        TransformRows<false>(between, rows, column);
    }
}

}  // namespace Terrascope::Codecs
