// PNG files of a canvas: 8-bit RGB, each row filtered by the filter that
// the usual heuristic picks, one zlib stream of our own compressor.
#pragma once

#include "plot/canvas.hpp"
#include "plot/deflate.hpp"

namespace ostr::plot {

// The rows of an RGB image, each led by its filter byte, as they go into
// the zlib stream.
Bytes filtered_rows(const std::uint8_t* rgb, int width, int height);
// A complete PNG file of the canvas.
Bytes encode_png(const Canvas& canvas);
Bytes encode_png(const std::uint8_t* rgb, int width, int height);

}  // namespace ostr::plot
