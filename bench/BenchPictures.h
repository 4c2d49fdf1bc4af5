#pragma once
// What the drawing benchmarks share: where their pictures go, the CPU time of
// the whole process, and the summary of a picture that the peer compares.
#include "bench/BenchSupport.h"
#include "render/Image.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <ctime>
#include <string>

namespace benchpictures {

// FENRAK_BENCH_PICTURES, or the folder of the running program.
inline std::string PictureFolder()
{
    const char* folder = std::getenv("FENRAK_BENCH_PICTURES");
    return folder && *folder ? folder : bench::OutputFolder();
}

// CPU time of the whole process: the drawing threads of the rasteriser included.
inline double ProcessSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return now.tv_sec + 1e-9 * now.tv_nsec;
}

// The covered share of the picture (pixels brighter than black) and its mean
// brightness as counters, and a copy shrunk `shrink` times, to `name` in the
// picture folder.
inline void Summarise(benchmark::State& state, const render::Image& image, const std::string& name, int shrink = 4)
{
    const int width = image.Width(), height = image.Height();
    long covered = 0;
    double brightness = 0.0;
    render::Image small(width / shrink, height / shrink);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const shr::Color4b c = image.At(x, y);
            const int sum = c.r + c.g + c.b;
            covered += sum > 24 ? 1 : 0;
            brightness += sum / 3.0;
        }
    for (int y = 0; y < small.Height(); ++y)
        for (int x = 0; x < small.Width(); ++x) {
            int channel[3] = {0, 0, 0};
            for (int dy = 0; dy < shrink; ++dy)
                for (int dx = 0; dx < shrink; ++dx) {
                    const shr::Color4b c = image.At(x * shrink + dx, y * shrink + dy);
                    channel[0] += c.r;
                    channel[1] += c.g;
                    channel[2] += c.b;
                }
            const int n = shrink * shrink;
            small.Set(x, y, shr::Color4b(channel[0] / n, channel[1] / n, channel[2] / n, 255));
        }
    small.WritePng(PictureFolder() + "/" + name);
    state.counters["covered"] = double(covered) / (double(width) * height);
    state.counters["brightness"] = brightness / (double(width) * height);
}

} // namespace benchpictures
