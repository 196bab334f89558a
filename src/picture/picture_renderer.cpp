#include "picture/picture_renderer.h"

namespace tv {

IPictureRenderer::~IPictureRenderer() = default;

void IPictureRenderer::SetFillColor(Color color) { fill_color = {color.r, color.g, color.b, color.a}; }

void IPictureRenderer::SetPenColor(Color color) { pen_color = {color.r, color.g, color.b, color.a}; }

} // namespace tv
