#include "plugins/codecs/ChromaTransform.h"

#include <emmintrin.h>

#include <algorithm>

namespace Terrascope::Codecs {

namespace {

using Lanes = __m128i;  // 8 numbers of 16 bits or 4 of 32

constexpr int kCosineBits = 13;
constexpr int kExtraBits = 2;  // kept between the passes
constexpr int kHalf = 8;       // the second half of the outputs mirrors the first

/// Output k of 16 takes coefficient j with this weight: 2^13 sqrt(2) cos((2k + 1) j pi / 32), 2^13
/// for j = 0. Some are one off the rounded cosine: the shared arithmetic adds up several rounded
/// constants. The other eight outputs have the signs of odd j reversed.
constexpr std::int16_t kWeights[kHalf][8] = {
    {8192, 11529, 11363, 11086, 10703, 10217, 9632, 8956},
    {8192, 11086, 9633, 7350, 4433, 1136, -2260, -5461},
    {8192, 10217, 6437, 1136, -4433, -8955, -11363, -11086},
    {8192, 8956, 2260, -5461, -10703, -11086, -6436, 1137},
    {8192, 7350, -2260, -10217, -10703, -3363, 6436, 11529},
    {8192, 5461, -6437, -11529, -4433, 7349, 11363, 3363},
    {8192, 3363, -9633, -8955, 4433, 11529, 2260, -10217},
    {8192, 1136, -11363, -3363, 10703, 5461, -9632, -7350}};

/// The weights of coefficients j and j + 2, as _mm_madd_epi16 wants them.
Lanes Pair(int k, int j) {
    const auto low = static_cast<std::uint16_t>(kWeights[k][j]);
    const auto high = static_cast<std::uint16_t>(kWeights[k][j + 2]);
    return _mm_set1_epi32(static_cast<int>(static_cast<std::uint32_t>(high) << 16 | low));
}

/// Eight transforms side by side, one in each lane: in[j] holds their coefficients j, out[k] their
/// outputs k, divided by 2^shift and rounded. With `Few` coefficients 4 to 7 are zero.
template <bool Few, int Shift>
void Transform(const Lanes* in, Lanes* out) {
    const Lanes even[2] = {_mm_unpacklo_epi16(in[0], in[2]), _mm_unpackhi_epi16(in[0], in[2])};
    const Lanes odd[2] = {_mm_unpacklo_epi16(in[1], in[3]), _mm_unpackhi_epi16(in[1], in[3])};
    const Lanes even4[2] = {_mm_unpacklo_epi16(in[4], in[6]), _mm_unpackhi_epi16(in[4], in[6])};
    const Lanes odd5[2] = {_mm_unpacklo_epi16(in[5], in[7]), _mm_unpackhi_epi16(in[5], in[7])};
    const Lanes rounding = _mm_set1_epi32(1 << (Shift - 1));
#pragma GCC unroll 8
    for (int k = 0; k < kHalf; ++k) {
        Lanes sums[2];
        Lanes differences[2];
        for (int half = 0; half < 2; ++half) {
            Lanes evenSum = _mm_add_epi32(_mm_madd_epi16(even[half], Pair(k, 0)), rounding);
            Lanes oddSum = _mm_madd_epi16(odd[half], Pair(k, 1));
            if constexpr (!Few) {
                evenSum = _mm_add_epi32(evenSum, _mm_madd_epi16(even4[half], Pair(k, 4)));
                oddSum = _mm_add_epi32(oddSum, _mm_madd_epi16(odd5[half], Pair(k, 5)));
            }
            sums[half] = _mm_srai_epi32(_mm_add_epi32(evenSum, oddSum), Shift);
            differences[half] = _mm_srai_epi32(_mm_sub_epi32(evenSum, oddSum), Shift);
        }
        out[k] = _mm_packs_epi32(sums[0], sums[1]);
        out[15 - k] = _mm_packs_epi32(differences[0], differences[1]);
    }
}

/// Rows to columns: out[i] holds number i of each of the eight.
void Transpose(const Lanes* in, Lanes* out) {
    Lanes from[8];
    std::copy(in, in + 8, from);
    for (int step = 0; step < 3; ++step) {
        for (int i = 0; i < 4; ++i) {
            out[2 * i] = _mm_unpacklo_epi16(from[i], from[i + 4]);
            out[2 * i + 1] = _mm_unpackhi_epi16(from[i], from[i + 4]);
        }
        std::copy(out, out + 8, from);
    }
}

bool IsZero(Lanes value) {
    return _mm_movemask_epi8(_mm_cmpeq_epi8(value, _mm_setzero_si128())) == 0xFFFF;
}

Lanes Or4(const Lanes* in) {
    return _mm_or_si128(_mm_or_si128(in[0], in[1]), _mm_or_si128(in[2], in[3]));
}

Lanes Load(const void* from) {
    return _mm_loadu_si128(static_cast<const Lanes*>(from));
}

/// The second pass for eight rows, from what the first has left of them.
template <bool Few>
void FinishRows(const Lanes* between, std::uint8_t* const* rows, std::size_t column) {
    constexpr int kShift = kCosineBits + kExtraBits + 3;  // 3: the transform's own factor
    Lanes columns[8];
    Lanes samples[16];
    Lanes left[8];
    Lanes right[8];
    Transpose(between, columns);
    Transform<Few, kShift>(columns, samples);
    Transpose(samples, left);
    Transpose(samples + 8, right);
    const Lanes middle = _mm_set1_epi8(-128);  // samples are about 0: 128 is the middle of a byte
    for (int y = 0; y < 8; ++y) {
        _mm_storeu_si128(reinterpret_cast<Lanes*>(rows[y] + column),
                         _mm_xor_si128(_mm_packs_epi16(left[y], right[y]), middle));
    }
}

}  // namespace

void TransformTo16(const std::int16_t* coefficients, const std::uint16_t* quantisation,
                   std::uint8_t* const* rows, std::size_t column) {
    Lanes in[8];
    for (int y = 0; y < 8; ++y) {
        in[y] = _mm_mullo_epi16(Load(coefficients + y * 8), Load(quantisation + y * 8));
    }
    const Lanes lower = Or4(in + 4);
    const Lanes all = _mm_or_si128(Or4(in), lower);
    Lanes between[16];
    constexpr int kShift = kCosineBits - kExtraBits;
    if (IsZero(lower)) {
        Transform<true, kShift>(in, between);
    } else {
        Transform<false, kShift>(in, between);
    }
    // Most blocks of chroma have nothing in the right half.
    if (IsZero(_mm_srli_si128(all, 8))) {
        FinishRows<true>(between, rows, column);
        FinishRows<true>(between + 8, rows + 8, column);
    } else {
        FinishRows<false>(between, rows, column);
        FinishRows<false>(between + 8, rows + 8, column);
    }
}

}  // namespace Terrascope::Codecs
