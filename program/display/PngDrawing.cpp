#include "program/display/PngDrawing.h"

#include "program/display/Panel.h"

#include <cairo.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <exception>
#include <map>
#include <memory>
#include <numbers>
#include <stdexcept>
#include <vector>

namespace {

// A dot is kPixels wide and high, or less, so that the picture has at most kMaxPixels.
constexpr int kPixels = 6;
constexpr std::int64_t kMaxPixels = 24'000'000;

using Surface = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;
using Context = std::unique_ptr<cairo_t, decltype(&cairo_destroy)>;
using Pattern = std::unique_ptr<cairo_pattern_t, decltype(&cairo_pattern_destroy)>;

Surface makeSurface(cairo_format_t format, int width, int height)
{
    Surface surface(cairo_image_surface_create(format, width, height), cairo_surface_destroy);
    if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS) {
        throw std::runtime_error("no memory for the picture");
    }
    return surface;
}

Context makeContext(const Surface& surface)
{
    return {cairo_create(surface.get()), cairo_destroy};
}

void setColour(cairo_t* context, panel::Colour colour, double opacity)
{
    cairo_set_source_rgba(context, colour.red / 255.0, colour.green / 255.0, colour.blue / 255.0,
                          opacity);
}

void addStop(cairo_pattern_t* pattern, double place, panel::Colour colour)
{
    cairo_pattern_add_color_stop_rgb(pattern, place, colour.red / 255.0, colour.green / 255.0,
                                     colour.blue / 255.0);
}

void fillRoundRectangle(cairo_t* context, double inset, Size size, double corner,
                        panel::Colour from, panel::Colour to)
{
    const double right = panel::width(size) - inset;
    const double bottom = panel::height(size) - inset;
    const double quarter = std::numbers::pi / 2;
    cairo_new_path(context);
    cairo_arc(context, right - corner, inset + corner, corner, -quarter, 0);
    cairo_arc(context, right - corner, bottom - corner, corner, 0, quarter);
    cairo_arc(context, inset + corner, bottom - corner, corner, quarter, 2 * quarter);
    cairo_arc(context, inset + corner, inset + corner, corner, 2 * quarter, 3 * quarter);
    cairo_close_path(context);
    const Pattern pattern(cairo_pattern_create_linear(0, inset, 0, bottom), cairo_pattern_destroy);
    addStop(pattern.get(), 0, from);
    addStop(pattern.get(), 1, to);
    cairo_set_source(context, pattern.get());
    cairo_fill(context);
}

// A mask of one cell's dots; `scale` is pixels for each dot.
Surface dotMask(const DotMatrix& dots, int scale)
{
    Surface mask = makeSurface(CAIRO_FORMAT_A8, kGlyphColumns * scale, kGlyphRows * scale);
    const Context context = makeContext(mask);
    cairo_scale(context.get(), scale, scale);
    for (int row = 0; row < kGlyphRows; ++row) {
        for (int column = 0; column < kGlyphColumns; ++column) {
            if (!isLit(dots, column, row)) {
                continue;
            }
            cairo_new_sub_path(context.get());
            cairo_arc(context.get(), column + 0.5, row + 0.5, panel::kDotSize / 2, 0,
                      2 * std::numbers::pi);
        }
    }
    cairo_fill(context.get());
    return mask;
}

class MaskCache {
public:
    explicit MaskCache(int scale) : m_scale(scale) {}

    cairo_surface_t* mask(const DotMatrix& dots)
    {
        const auto found = m_masks.find(dots);
        return (found != m_masks.end() ? found
                                       : m_masks.emplace(dots, dotMask(dots, m_scale)).first)
            ->second.get();
    }

private:
    int m_scale;
    std::map<DotMatrix, Surface> m_masks;
};

// Replaces each byte of a line by the mean of the 2 * radius + 1 bytes around it. The bytes are
// `stride` apart; `copy` is scratch room for `length` bytes.
void blurLine(std::uint8_t* line, int length, std::ptrdiff_t stride, int radius,
              std::vector<std::uint8_t>& copy)
{
    for (int i = 0; i < length; ++i) {
        copy[static_cast<std::size_t>(i)] = line[i * stride];
    }
    const auto value = [&](int i) {
        return i >= 0 && i < length ? int{copy[static_cast<std::size_t>(i)]} : 0;
    };
    int sum = 0;
    for (int i = -radius; i < radius; ++i) {
        sum += value(i);
    }
    for (int i = 0; i < length; ++i) {
        sum += value(i + radius);
        line[i * stride] = static_cast<std::uint8_t>(sum / (2 * radius + 1));
        sum -= value(i - radius);
    }
}

// Approximates a Gaussian blur by three running means. `deviation` is in pixels.
void blur(const Surface& surface, double deviation)
{
    constexpr int kPasses = 3;
    const int radius = std::max(1, static_cast<int>(std::lround(deviation)));
    cairo_surface_flush(surface.get());
    std::uint8_t* const pixels = cairo_image_surface_get_data(surface.get());
    const int width = cairo_image_surface_get_width(surface.get());
    const int height = cairo_image_surface_get_height(surface.get());
    const std::ptrdiff_t stride = cairo_image_surface_get_stride(surface.get());
    std::vector<std::uint8_t> copy(static_cast<std::size_t>(std::max(width, height)));
    for (int pass = 0; pass < kPasses; ++pass) {
        for (int y = 0; y < height; ++y) {
            blurLine(pixels + y * stride, width, 1, radius, copy);
        }
        for (int x = 0; x < width; ++x) {
            blurLine(pixels + x, height, stride, radius, copy);
        }
    }
    cairo_surface_mark_dirty(surface.get());
}

// A mask of the lit dots of the whole display.
Surface litMask(const Screen& screen, int scale, MaskCache& masks)
{
    Surface lit = makeSurface(CAIRO_FORMAT_A8, panel::width(screen.size) * scale,
                              panel::height(screen.size) * scale);
    const Context context = makeContext(lit);
    for (int line = 0; line < screen.size.lines; ++line) {
        for (int column = 0; column < screen.size.columns; ++column) {
            const bool cursor = screen.cursor == Position{column, line};
            const DotMatrix dots = panel::litDots(screen.cell(column, line), cursor);
            if (dots != DotMatrix{}) {
                cairo_mask_surface(context.get(), masks.mask(dots), panel::left(column) * scale,
                                   panel::top(line) * scale);
            }
        }
    }
    return lit;
}

void drawUnlitDots(cairo_t* context, Size size, int scale)
{
    DotMatrix all;
    all.fill(0xFF);
    const Surface mask = dotMask(all, scale);
    setColour(context, panel::kUnlit, 1);
    for (int line = 0; line < size.lines; ++line) {
        for (int column = 0; column < size.columns; ++column) {
            cairo_mask_surface(context, mask.get(), panel::left(column) * scale,
                               panel::top(line) * scale);
        }
    }
}

int pictureScale(Size size)
{
    int scale = kPixels;
    while (scale > 1 &&
           std::int64_t{panel::width(size)} * panel::height(size) * scale * scale > kMaxPixels) {
        --scale;
    }
    return scale;
}

cairo_status_t append(void* text, const unsigned char* bytes, unsigned length)
{
    try {
        static_cast<std::string*>(text)->append(reinterpret_cast<const char*>(bytes), length);
        return CAIRO_STATUS_SUCCESS;
    } catch (const std::exception&) {  // an exception must not pass through cairo
        return CAIRO_STATUS_NO_MEMORY;
    }
}

}  // namespace

std::string drawPng(const Screen& moment)
{
    const Screen screen = moment.seen();
    const Size size = screen.size;
    const int scale = pictureScale(size);
    const Surface picture =
        makeSurface(CAIRO_FORMAT_ARGB32, panel::width(size) * scale, panel::height(size) * scale);
    const Context context = makeContext(picture);

    cairo_save(context.get());
    cairo_scale(context.get(), scale, scale);
    fillRoundRectangle(context.get(), 0, size, panel::kBezelCorner, panel::kBezelTop,
                       panel::kBezelBottom);
    fillRoundRectangle(context.get(), panel::kBezel, size, panel::kGlassCorner, panel::kGlassTop,
                       panel::kGlassBottom);
    cairo_restore(context.get());
    drawUnlitDots(context.get(), size, scale);

    MaskCache masks(scale);
    const Surface lit = litMask(screen, scale, masks);
    const Surface glow = litMask(screen, scale, masks);
    blur(glow, panel::kGlowRadius * scale);
    const double opacity = panel::litOpacity(screen.brightness);
    setColour(context.get(), panel::kLit, opacity * panel::kGlowStrength);
    cairo_mask_surface(context.get(), glow.get(), 0, 0);
    setColour(context.get(), panel::kLit, opacity);
    cairo_mask_surface(context.get(), lit.get(), 0, 0);

    std::string png;
    if (cairo_status(context.get()) != CAIRO_STATUS_SUCCESS ||
        cairo_surface_write_to_png_stream(picture.get(), append, &png) != CAIRO_STATUS_SUCCESS) {
        throw std::runtime_error("no memory for the picture");
    }
    return png;
}
