#pragma once

#include <cstddef>
#include <cstdint>

namespace Terrascope::Codecs {

/// The inverse cosine transform of a JPEG block of 8 x 8 coefficients into 16 x 16 samples: the
/// block, enlarged to twice its size. In the fixed-point arithmetic of the integer transform that
/// JPEG libraries share (13 bits for the cosines, 2 more bits between the passes), so that the
/// samples are theirs to the last bit for coefficients of an encoder.
///
/// `coefficients` and `quantisation` are in rows, not zigzag; the samples go to the 16 rows from
/// `column` on.
/// Requires: a processor with AVX2.
void TransformTo16(const std::int16_t* coefficients, const std::uint16_t* quantisation,
                   std::uint8_t* const* rows, std::size_t column);

}  // namespace Terrascope::Codecs
