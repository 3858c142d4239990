/// A frequency response as an SVG picture: magnitude above, phase below.
#pragma once

#include "Host/FrequencyResponse.h"

#include <string>
#include <vector>

namespace lum::host {

/// title and subtitle may hold any text. points: at least two, rising in frequency.
std::string responseSvg(const std::vector<ResponsePoint>& points, const std::string& title,
                        const std::string& subtitle);

} // namespace lum::host
