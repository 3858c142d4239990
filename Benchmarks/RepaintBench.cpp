// A whole frame of the gallery's panel, 642 x 400 pixels at scale 1, drawn anew on one core.
#include "AuthoredTree.h"
#include "BenchHarness.h"
#include "Graphics/GraphicsFile.h"
#include "View/ViewScene.h"

using namespace lum;
using namespace lum::bench;

namespace {

constexpr double kWidth = 642.0; // pixels
constexpr double kHeight = 400.0;
constexpr int kFrames = 200;

double milliseconds(Clock::time_point since) {
    return std::chrono::duration<double, std::milli>(Clock::now() - since).count();
}

void repaint(ViewScene& scene) {
    scene.window().setWindowSize(kWidth, kHeight);
    CLinearBitmap bitmap;
    scene.paint(bitmap); // lays out and prepares
    std::vector<double> times;
    for (int i = 0; i < kFrames; i++) {
        const auto start = Clock::now();
        throwOnError(scene.window().paint(bitmap, 0, 0, bitmap.bounds()), "painting");
        times.push_back(milliseconds(start));
        keep(bitmap.row(0));
    }
    std::sort(times.begin(), times.end());
    std::printf("full repaint of %d x %d, %d views: median %.2f ms, slowest %.2f ms\n",
                bitmap.getWidth(), bitmap.getHeight(), scene.window().drawingOrder().ssize(),
                times[kFrames / 2], times[kFrames - 1]);
}

/// What the first frame at another scale costs: measuring, layout, the images of that scale.
void changeScale(ViewScene& scene, double scale) {
    const auto start = Clock::now();
    scene.window().setScale(scale);
    scene.window().setWindowSize(kWidth * scale, kHeight * scale);
    throwOnError(scene.window().frame(), "frame");
    std::printf("first frame at scale %.2f: %.1f ms\n", scale, milliseconds(start));
}

} // namespace

int main() {
    pinToOneCore();
    try {
        ViewScene scene(lum::tools::readAuthoredTree(lum::tools::readFile(LUM_PANEL), LUM_PANEL),
                        {LUM_GRAPHICS_FOLDER, LUM_PALETTE_FOLDER});
        repaint(scene);
        for (const double scale : {1.25, 1.5, 2.0}) changeScale(scene, scale);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench_repaint: %s\n", error.what());
        return 1;
    }
    return 0;
}
