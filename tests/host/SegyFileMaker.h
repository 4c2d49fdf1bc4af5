#pragma once
// Writes small SEG-Y cubes for the tests and the benchmark: IEEE floats,
// big-endian unless asked, one trace per (inline, crossline) in inline order.
// Amplitude of trace t, sample s: Value(t, s).
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

namespace hosttest {

struct SegyCube {
    int inlines = 3;
    int crosslines = 4;
    int samples = 5;
    int intervalMicroseconds = 4000;
    int delayMs = 100;
    double originX = 1000.0, originY = 2000.0;
    double ax = 25.0, ay = 0.0; // one crossline step
    double bx = 0.0, by = 12.5; // one inline step
    int scalar = -100;          // coordinates in hundredths
    int inlineByte = 189, crosslineByte = 193;
    bool littleEndian = false;
    // Traces (by number in writing order) left out; a position jitter per trace.
    std::vector<int> skip;
    std::function<double(int)> jitter;

    static float Value(int trace, int sample) { return float(trace * 100 + sample) * 0.5f; }

    void Put(std::vector<unsigned char>& buffer, size_t at, uint64_t value, int bytes) const
    {
        for (int b = 0; b < bytes; ++b) {
            const int shift = littleEndian ? 8 * b : 8 * (bytes - 1 - b);
            buffer[at + size_t(b)] = static_cast<unsigned char>(value >> shift);
        }
    }

    // Hands the file to `emit(data, size)` piece by piece.
    template <class Emit>
    void Produce(Emit emit) const
    {
        std::vector<unsigned char> head(3600, 0x40);
        std::fill(head.begin() + 3200, head.end(), 0);
        Put(head, 3216, uint16_t(intervalMicroseconds), 2);
        Put(head, 3220, uint16_t(samples), 2);
        Put(head, 3224, 5, 2);
        emit(head.data(), head.size());
        std::vector<unsigned char> trace(240 + 4 * size_t(samples));
        int number = 0;
        for (int j = 0; j < inlines; ++j) {
            for (int i = 0; i < crosslines; ++i, ++number) {
                if (std::find(skip.begin(), skip.end(), number) != skip.end())
                    continue;
                std::fill(trace.begin(), trace.begin() + 240, 0);
                const double shift = jitter ? jitter(number) : 0.0;
                const double x = originX + i * ax + j * bx + shift;
                const double y = originY + i * ay + j * by;
                const double unit = scalar < 0 ? -scalar : 1.0;
                Put(trace, 70, uint16_t(int16_t(scalar)), 2);
                Put(trace, 108, uint16_t(delayMs), 2);
                Put(trace, 114, uint16_t(samples), 2);
                Put(trace, 180, uint32_t(int32_t(std::lround(x * unit))), 4);
                Put(trace, 184, uint32_t(int32_t(std::lround(y * unit))), 4);
                Put(trace, size_t(inlineByte - 1), uint32_t(100 + j), 4);
                Put(trace, size_t(crosslineByte - 1), uint32_t(200 + i), 4);
                for (int s = 0; s < samples; ++s) {
                    uint32_t bits;
                    const float value = Value(number, s);
                    std::memcpy(&bits, &value, 4);
                    Put(trace, 240 + 4 * size_t(s), bits, 4);
                }
                emit(trace.data(), trace.size());
            }
        }
    }

    std::vector<unsigned char> Bytes() const
    {
        std::vector<unsigned char> file;
        Produce([&](const unsigned char* data, size_t size) { file.insert(file.end(), data, data + size); });
        return file;
    }

    void Write(const std::string& path) const
    {
        std::ofstream out(path, std::ios::binary);
        Produce([&](const unsigned char* data, size_t size) { out.write(reinterpret_cast<const char*>(data), long(size)); });
    }
};

} // namespace hosttest
