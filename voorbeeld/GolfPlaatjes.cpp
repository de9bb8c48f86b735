// Writes the indicator's wave as PNG pictures, so a person can see what it looks like:
// light and dark theme × rest, listening and processing, at twice the strip's size (560 × 112).
// Usage: tolmo-golfplaatjes [MAP]   (default: the current folder)
#include <png.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "Tolmo/GolfView/GolfAnimatie.h"
#include "Tolmo/GolfView/GolfBeeld.h"

namespace {

bool schrijfPng(const std::filesystem::path& pad, const tolmo::GolfBeeld& beeld) {
    std::FILE* f = std::fopen(pad.c_str(), "wb");
    if (f == nullptr) {
        return false;
    }
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    // PNG stores straight alpha; the renderer's image is premultiplied.
    std::vector<png_byte> recht(beeld.pixels().begin(), beeld.pixels().end());
    for (std::size_t i = 0; i + 3 < recht.size(); i += 4) {
        const unsigned a = recht[i + 3];
        for (std::size_t k = 0; k < 3 && a > 0; ++k) {
            recht[i + k] = static_cast<png_byte>(std::min(255U, (recht[i + k] * 255U + a / 2) / a));
        }
    }
    std::vector<png_bytep> rijen;
    for (int y = 0; y < beeld.hoogte(); ++y) {
        rijen.push_back(recht.data() + static_cast<std::size_t>(y * beeld.breedte() * 4));
    }
    png_init_io(png, f);
    png_set_IHDR(png, info, static_cast<png_uint_32>(beeld.breedte()),
                 static_cast<png_uint_32>(beeld.hoogte()), 8, PNG_COLOR_TYPE_RGBA,
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_set_rows(png, info, rijen.data());
    png_write_png(png, info, PNG_TRANSFORM_IDENTITY, nullptr);
    png_destroy_write_struct(&png, &info);
    return std::fclose(f) == 0;
}

}  // namespace

int main(int argc, char** argv) {
    const std::filesystem::path map = argc > 1 ? argv[1] : ".";
    std::filesystem::create_directories(map);
    using Stand = tolmo::GolfAnimatie::Stand;
    const std::pair<const char*, Stand> standen[] = {
        {"rust", Stand::rust}, {"luistert", Stand::luistert}, {"verwerkt", Stand::verwerkt}};
    for (bool licht : {true, false}) {
        for (const auto& [naam, stand] : standen) {
            tolmo::GolfAnimatie a(licht ? tolmo::GolfAnimatie::Thema::lichtThema()
                                        : tolmo::GolfAnimatie::Thema::donkerThema());
            a.zetStand(stand);
            a.zetNiveauBron([] { return 0.6F; });
            tolmo::U u;
            for (int i = 0; i <= 90; ++i) {  // a second and a half, so the motion has settled
                u = a.beeld(560, 112, 100.0 + i / 60.0);
            }
            tolmo::GolfBeeld beeld(560, 112);
            beeld.teken(u);
            const auto pad =
                map / (std::string("golf-") + (licht ? "licht-" : "donker-") + naam + ".png");
            if (!schrijfPng(pad, beeld)) {
                std::fprintf(stderr, "Kan %s niet schrijven.\n", pad.c_str());
                return 1;
            }
            std::printf("%s\n", std::filesystem::absolute(pad).c_str());
        }
    }
    return 0;
}
