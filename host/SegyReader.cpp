#include "host/SegyReader.h"

#include "core/data/VdCurvilinearLattice.h"
#include "core/data/VdUniformLattice.h"
#include "host/HostError.h"
#include "host/LatticeFile.h"

#include <segyio/segy.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fstream>
#include <map>
#include <vector>

namespace host {

namespace {

constexpr long kFileHeaderBytes = SEGY_TEXT_HEADER_SIZE + SEGY_BINARY_HEADER_SIZE;
constexpr long kTraceHeaderBytes = SEGY_TRACE_HEADER_SIZE;
// Byte offsets (from the start of the file) of binary header fields.
constexpr long kIntervalAt = SEGY_BIN_INTERVAL - 1;
constexpr long kSamplesAt = SEGY_BIN_SAMPLES - 1;
constexpr long kFormatAt = SEGY_BIN_FORMAT - 1;
constexpr long kExtHeadersAt = SEGY_BIN_EXT_HEADERS - 1;
// ... and of the first trace header's sample count.
constexpr long kTraceSamplesAt = kFileHeaderBytes + SEGY_TR_SAMPLE_COUNT - 1;

// What the file headers say, checked against the file's size.
struct Layout {
    int format = 0;
    bool lsb = false;
    int samples = 0;
    int sampleBytes = 0;
    long trace0 = kFileHeaderBytes;
    long traceBytes = 0; // the samples only
    long traceCount = 0;
};

int Read16(const unsigned char* p, bool lsb)
{
    const unsigned value = lsb ? unsigned(p[0]) | unsigned(p[1]) << 8 : unsigned(p[0]) << 8 | unsigned(p[1]);
    return static_cast<int16_t>(static_cast<uint16_t>(value));
}

int SampleBytes(int format)
{
    switch (format) {
    case SEGY_IBM_FLOAT_4_BYTE:
    case SEGY_SIGNED_INTEGER_4_BYTE:
    case SEGY_IEEE_FLOAT_4_BYTE:
        return 4;
    case SEGY_SIGNED_SHORT_2_BYTE:
        return 2;
    case SEGY_SIGNED_CHAR_1_BYTE:
        return 1;
    default:
        return 0;
    }
}

shr::PrimType SampleType(int format)
{
    switch (format) {
    case SEGY_SIGNED_INTEGER_4_BYTE:
        return shr::Int32;
    case SEGY_SIGNED_SHORT_2_BYTE:
        return shr::Int16;
    case SEGY_SIGNED_CHAR_1_BYTE:
        return shr::Int8;
    default:
        return shr::Float;
    }
}

// The layout from the first bytes of a file (the file headers and, when the
// binary header has no sample count, the first trace header). Empty `why`
// on success.
Layout ParseLayout(const unsigned char* head, size_t size, uint64_t fileSize, std::string& why)
{
    Layout layout;
    if (size < size_t(kFileHeaderBytes)) {
        why = "shorter than the 3600 bytes of the file headers";
        return layout;
    }
    layout.format = Read16(head + kFormatAt, false);
    if (!SampleBytes(layout.format) && SampleBytes(Read16(head + kFormatAt, true))) {
        layout.lsb = true;
        layout.format = Read16(head + kFormatAt, true);
    }
    layout.sampleBytes = SampleBytes(layout.format);
    if (!layout.sampleBytes) {
        why = "binary header (byte 3225): sample format " + std::to_string(layout.format) +
              " is not one of 1, 2, 3, 5, 8";
        return layout;
    }
    layout.samples = Read16(head + kSamplesAt, layout.lsb);
    if (layout.samples == 0 && size >= size_t(kTraceSamplesAt + 2))
        layout.samples = Read16(head + kTraceSamplesAt, layout.lsb);
    if (layout.samples <= 0) {
        why = "binary header (byte 3221): " + std::to_string(layout.samples) + " samples per trace";
        return layout;
    }
    const int extHeaders = Read16(head + kExtHeadersAt, layout.lsb);
    if (extHeaders < 0) {
        why = "binary header (byte 3505): " + std::to_string(extHeaders) + " extended text headers";
        return layout;
    }
    layout.trace0 = kFileHeaderBytes + long(extHeaders) * SEGY_TEXT_HEADER_SIZE;
    layout.traceBytes = long(layout.samples) * layout.sampleBytes;
    const uint64_t stride = uint64_t(layout.traceBytes + kTraceHeaderBytes);
    if (fileSize <= uint64_t(layout.trace0) || (fileSize - uint64_t(layout.trace0)) % stride != 0) {
        why = "the size of " + std::to_string(fileSize) + " bytes is not the headers (" +
              std::to_string(layout.trace0) + " bytes) and a whole number of traces of " +
              std::to_string(layout.samples) + " samples (" + std::to_string(stride) + " bytes each)";
        return layout;
    }
    const uint64_t count = (fileSize - uint64_t(layout.trace0)) / stride;
    if (count > uint64_t(INT32_MAX)) {
        why = std::to_string(count) + " traces, more than a lattice holds";
        return layout;
    }
    layout.traceCount = long(count);
    return layout;
}

// One trace's keys and position.
struct TraceHead {
    int inl = 0;
    int xl = 0;
    double x = 0.0;
    double y = 0.0;
};

struct Vec2 {
    double x = 0.0;
    double y = 0.0;
};

double Length(const Vec2& v)
{
    return std::hypot(v.x, v.y);
}

// position(i, j) = origin + i a + j b
struct AffineGrid {
    Vec2 origin;
    Vec2 a;
    Vec2 b;
    Vec2 At(double i, double j) const { return {origin.x + i * a.x + j * b.x, origin.y + i * a.y + j * b.y}; }
};

// Solves the n x n system (n <= 3) in place by elimination with pivoting;
// false when it is singular.
bool Solve(double m[3][3], double rhs[3], int n)
{
    for (int c = 0; c < n; ++c) {
        int pivot = c;
        for (int r = c + 1; r < n; ++r) {
            if (std::fabs(m[r][c]) > std::fabs(m[pivot][c]))
                pivot = r;
        }
        if (std::fabs(m[pivot][c]) < 1e-300)
            return false;
        std::swap(m[c], m[pivot]);
        std::swap(rhs[c], rhs[pivot]);
        for (int r = 0; r < n; ++r) {
            if (r == c)
                continue;
            const double f = m[r][c] / m[c][c];
            for (int k = c; k < n; ++k)
                m[r][k] -= f * m[c][k];
            rhs[r] -= f * rhs[c];
        }
    }
    for (int c = 0; c < n; ++c)
        rhs[c] /= m[c][c];
    return true;
}

class CubeReader {
public:
    CubeReader(const shr::GString& path, const shr::GString& name, const SegySettings& settings)
        : m_Path(path), m_Name(name), m_Settings(settings)
    {
    }

    ~CubeReader()
    {
        if (m_File)
            segy_close(m_File);
    }

    std::unique_ptr<core::VdLattice> Read()
    {
        ReadLayout();
        // The samples are stored whole: a lattice holds at least all of them.
        LatticeFile::CheckBudget(m_Name, uint64_t(m_Layout.traceCount) * uint64_t(m_Layout.traceBytes),
                                 shr::ToString("its %ld traces of %d samples", m_Layout.traceCount, m_Layout.samples));
        Open();
        ReadTraceHeads();
        IndexLines();
        FitGrid();
        ReadSampleAxis();
        std::unique_ptr<core::VdLattice> lattice = m_Regular ? MakeUniform() : MakeCurvilinear();
        ReadSamples(*lattice);
        return lattice;
    }

private:
    template <class... Args>
    [[noreturn]] void Fail(const char* format, Args... args) const
    {
        HOST_USER_ERROR("%s: %s", m_Name.c_str(), shr::ToString(format, args...).c_str());
    }

    [[noreturn]] void FailTrace(long trace, const std::string& what) const
    {
        const long long at = m_Layout.trace0 + (long long)trace * (m_Layout.traceBytes + kTraceHeaderBytes);
        Fail("trace %ld (byte %lld): %s", trace + 1, at, what.c_str());
    }

    void ReadLayout()
    {
        std::ifstream file(m_Path, std::ios::binary | std::ios::ate);
        if (!file)
            Fail("cannot open the file: %s", std::strerror(errno));
        const uint64_t size = uint64_t(file.tellg());
        std::vector<unsigned char> head(size_t(std::min<uint64_t>(size, kTraceSamplesAt + 2)));
        file.seekg(0);
        file.read(reinterpret_cast<char*>(head.data()), std::streamsize(head.size()));
        std::string why;
        m_Layout = ParseLayout(head.data(), head.size(), size, why);
        if (!why.empty())
            Fail("not a SEG-Y cube: %s", why.c_str());
    }

    void Open()
    {
        m_File = segy_open(m_Path.c_str(), "rb");
        if (!m_File)
            Fail("cannot open the file: %s", std::strerror(errno));
        segy_mmap(m_File); // reads through a mapping where one can be made, else through the stream
        if (segy_set_format(m_File, m_Layout.format | (m_Layout.lsb ? SEGY_LSB : SEGY_MSB)) != SEGY_OK)
            Fail("sample format %d is not supported", m_Layout.format);
        int traces = 0;
        if (segy_traces(m_File, &traces, m_Layout.trace0, int(m_Layout.traceBytes)) != SEGY_OK ||
            traces != m_Layout.traceCount)
            Fail("the trace count cannot be read");
    }

    int Field(const char* header, int byte) const
    {
        int32_t value = 0;
        segy_get_field(header, byte, &value);
        return value;
    }

    void ReadTraceHeads()
    {
        char header[SEGY_TRACE_HEADER_SIZE];
        m_Heads.resize(size_t(m_Layout.traceCount));
        m_AllAtZero = true;
        for (long t = 0; t < m_Layout.traceCount; ++t) {
            if (segy_traceheader(m_File, int(t), header, m_Layout.trace0, int(m_Layout.traceBytes)) != SEGY_OK)
                FailTrace(t, "the trace header cannot be read");
            const int samples = Field(header, SEGY_TR_SAMPLE_COUNT);
            if (samples != 0 && samples != m_Layout.samples)
                FailTrace(t, shr::ToString("%d samples, the file's traces have %d", samples, m_Layout.samples));
            TraceHead& head = m_Heads[size_t(t)];
            head.inl = Field(header, m_Settings.inlineByte);
            head.xl = Field(header, m_Settings.crosslineByte);
            const double scale = CoordinateScale(Field(header, m_Settings.scalarByte));
            head.x = Field(header, m_Settings.xByte) * scale;
            head.y = Field(header, m_Settings.yByte) * scale;
            m_AllAtZero = m_AllAtZero && head.x == 0.0 && head.y == 0.0;
            if (t == 0) {
                m_Quantum = scale;
                m_Delay = Field(header, m_Settings.delayByte);
            }
        }
    }

    static double CoordinateScale(int scalar)
    {
        if (scalar > 0)
            return scalar;
        return scalar < 0 ? 1.0 / -double(scalar) : 1.0;
    }

    // The sorted distinct line numbers, and the trace of each node (-1: none).
    void IndexLines()
    {
        for (const TraceHead& head : m_Heads) {
            m_Inlines.push_back(head.inl);
            m_Crosslines.push_back(head.xl);
        }
        for (std::vector<int>* lines : {&m_Inlines, &m_Crosslines}) {
            std::sort(lines->begin(), lines->end());
            lines->erase(std::unique(lines->begin(), lines->end()), lines->end());
        }
        const uint64_t nodes = uint64_t(m_Inlines.size()) * m_Crosslines.size() * uint64_t(m_Layout.samples);
        if (nodes > core::VdLattice::MaxNodes)
            Fail("%zu inlines, %zu crosslines and %d samples are more nodes than a lattice holds", m_Inlines.size(),
                 m_Crosslines.size(), m_Layout.samples);
        // Line numbers far apart make a lattice far larger than the file.
        const unsigned int dims[3] = {Dims(0), Dims(1), Dims(2)};
        LatticeFile::CheckBudget(m_Name, dims, 1, SampleType(m_Layout.format));
        LatticeFile::CheckBudget(m_Name, uint64_t(dims[0]) * dims[1] * sizeof(long),
                                 shr::ToString("the index of %u x %u trace positions", dims[0], dims[1]));
        MapTraces();
    }

    void MapTraces()
    {
        m_NodeTrace.assign(m_Inlines.size() * m_Crosslines.size(), -1);
        for (long t = 0; t < long(m_Heads.size()); ++t) {
            const TraceHead& head = m_Heads[size_t(t)];
            long& slot = m_NodeTrace[NodeOf(head)];
            if (slot >= 0)
                FailTrace(t, shr::ToString("inline %d crossline %d already came in trace %ld", head.inl, head.xl,
                                           slot + 1));
            slot = t;
        }
    }

    size_t CrosslineIndex(int xl) const
    {
        const auto at = std::lower_bound(m_Crosslines.begin(), m_Crosslines.end(), xl);
        const size_t index = size_t(at - m_Crosslines.begin());
        return m_CrosslinesReversed ? m_Crosslines.size() - 1 - index : index;
    }

    size_t InlineIndex(int inl) const
    {
        return size_t(std::lower_bound(m_Inlines.begin(), m_Inlines.end(), inl) - m_Inlines.begin());
    }

    size_t NodeOf(const TraceHead& head) const
    {
        return InlineIndex(head.inl) * m_Crosslines.size() + CrosslineIndex(head.xl);
    }

    Vec2 PositionOf(const TraceHead& head) const
    {
        if (m_AllAtZero)
            return {double(CrosslineIndex(head.xl)), double(InlineIndex(head.inl))};
        return {head.x - m_Heads[0].x, head.y - m_Heads[0].y};
    }

    // Least squares over the traces present; a single line or trace gets the
    // missing direction(s) as unit vectors turning counter-clockwise.
    void FitGrid()
    {
        FitOnce();
        if (m_Grid.a.x * m_Grid.b.y - m_Grid.a.y * m_Grid.b.x < 0.0) {
            // Crosslines the other way round keep the lattice right-handed.
            m_CrosslinesReversed = true;
            MapTraces();
            FitOnce();
        }
        const double bin = std::min(Length(m_Grid.a), Length(m_Grid.b));
        if (!(bin > 0.0))
            Fail("traces of different lines share one position: the coordinates (bytes %d and %d) carry no grid",
                 m_Settings.xByte, m_Settings.yByte);
        const double tolerance = std::max(m_AllAtZero ? 0.0 : m_Quantum, 0.01 * bin);
        m_Regular = true;
        for (const TraceHead& head : m_Heads) {
            const Vec2 p = PositionOf(head);
            const size_t node = NodeOf(head);
            const Vec2 q = m_Grid.At(double(node % m_Crosslines.size()), double(node / m_Crosslines.size()));
            m_Regular = m_Regular && std::hypot(p.x - q.x, p.y - q.y) <= tolerance;
        }
        const Vec2 first = m_AllAtZero ? Vec2() : Vec2{m_Heads[0].x, m_Heads[0].y};
        m_Grid.origin = {m_Grid.origin.x + first.x, m_Grid.origin.y + first.y};
    }

    void FitOnce()
    {
        const bool alongI = m_Crosslines.size() > 1;
        const bool alongJ = m_Inlines.size() > 1;
        const int n = 1 + int(alongI) + int(alongJ);
        double result[2][3] = {};
        for (int axis = 0; axis < 2; ++axis) {
            double m[3][3] = {};
            double rhs[3] = {};
            for (const TraceHead& head : m_Heads) {
                const size_t node = NodeOf(head);
                double row[3] = {1.0, 0.0, 0.0};
                int c = 1;
                if (alongI)
                    row[c++] = double(node % m_Crosslines.size());
                if (alongJ)
                    row[c++] = double(node / m_Crosslines.size());
                const Vec2 p = PositionOf(head);
                const double value = axis == 0 ? p.x : p.y;
                for (int r = 0; r < n; ++r) {
                    rhs[r] += row[r] * value;
                    for (int k = 0; k < n; ++k)
                        m[r][k] += row[r] * row[k];
                }
            }
            if (!Solve(m, rhs, n))
                Fail("the trace positions do not span a grid");
            std::copy(rhs, rhs + n, result[axis]);
        }
        m_Grid.origin = {result[0][0], result[1][0]};
        const int ia = 1;
        const int ib = alongI ? 2 : 1;
        m_Grid.a = alongI ? Vec2{result[0][ia], result[1][ia]} : Vec2();
        m_Grid.b = alongJ ? Vec2{result[0][ib], result[1][ib]} : Vec2();
        CompleteDirections();
    }

    void CompleteDirections()
    {
        Vec2& a = m_Grid.a;
        Vec2& b = m_Grid.b;
        const double la = Length(a);
        const double lb = Length(b);
        if (m_Crosslines.size() <= 1 && m_Inlines.size() <= 1) {
            a = {1.0, 0.0};
            b = {0.0, 1.0};
        } else if (m_Crosslines.size() <= 1 && lb > 0.0) {
            a = {b.y / lb, -b.x / lb};
        } else if (m_Inlines.size() <= 1 && la > 0.0) {
            b = {-a.y / la, a.x / la};
        }
    }

    void ReadSampleAxis()
    {
        m_Interval = m_Settings.sampleInterval;
        if (m_Interval <= 0.0) {
            float dt = 0.0f;
            if (segy_sample_interval(m_File, 0.0f, &dt) != SEGY_OK || !(dt > 0.0f))
                Fail("no sample interval in the headers (bytes 3217 and 117): give \"sampleInterval\"");
            m_Interval = double(dt) / 1000.0;
        }
    }

    unsigned int Dims(int axis) const
    {
        const size_t dims[3] = {m_Crosslines.size(), m_Inlines.size(), size_t(m_Layout.samples)};
        return unsigned(dims[axis]);
    }

    // Z of sample s: minus its time or depth.
    double SampleZ(int sample) const { return -(m_Delay + sample * m_Interval); }

    std::unique_ptr<core::VdLattice> MakeUniform() const
    {
        const unsigned int dims[3] = {Dims(0), Dims(1), Dims(2)};
        auto lattice = std::make_unique<core::VdUniformLattice>(SampleType(m_Layout.format), dims, nullptr, 1);
        const double la = Length(m_Grid.a);
        const double lb = Length(m_Grid.b);
        const double zLow = SampleZ(m_Layout.samples - 1);
        const double zHigh = SampleZ(0);
        const bool aligned = m_Grid.a.y == 0.0 && m_Grid.b.x == 0.0 && m_Grid.a.x > 0.0 && m_Grid.b.y > 0.0;
        if (aligned) {
            lattice->SetUVWBounds(shr::Box3d(m_Grid.origin.x, m_Grid.origin.y, zLow,
                                             m_Grid.origin.x + (dims[0] - 1.0) * la,
                                             m_Grid.origin.y + (dims[1] - 1.0) * lb, zHigh));
            return lattice;
        }
        lattice->SetUVWBounds(shr::Box3d(0.0, 0.0, zLow, (dims[0] - 1.0) * la, (dims[1] - 1.0) * lb, zHigh));
        // Rows are the images of the U, V and W axes (points are row vectors).
        lattice->SetUserTransform(shr::Mat4d(m_Grid.a.x / la, m_Grid.a.y / la, 0.0, 0.0, //
                                             m_Grid.b.x / lb, m_Grid.b.y / lb, 0.0, 0.0, //
                                             0.0, 0.0, 1.0, 0.0,                         //
                                             m_Grid.origin.x, m_Grid.origin.y, 0.0, 1.0));
        return lattice;
    }

    std::unique_ptr<core::VdLattice> MakeCurvilinear() const
    {
        const unsigned int dims[3] = {Dims(0), Dims(1), Dims(2)};
        LatticeFile::CheckBudget(m_Name, dims, 1, SampleType(m_Layout.format), 3 * sizeof(double));
        const size_t columns = size_t(dims[0]) * dims[1];
        std::vector<Vec2> column(columns);
        for (size_t node = 0; node < columns; ++node) {
            const long trace = m_NodeTrace[node];
            column[node] = trace >= 0 ? Vec2{m_Heads[size_t(trace)].x, m_Heads[size_t(trace)].y}
                                      : m_Grid.At(double(node % dims[0]), double(node / dims[0]));
        }
        std::vector<double> coords(columns * dims[2] * 3);
        for (unsigned int k = 0; k < dims[2]; ++k) {
            const double z = SampleZ(m_Layout.samples - 1 - int(k));
            for (size_t node = 0; node < columns; ++node) {
                double* xyz = &coords[(k * columns + node) * 3];
                xyz[0] = column[node].x;
                xyz[1] = column[node].y;
                xyz[2] = z;
            }
        }
        return std::make_unique<core::VdCurvilinearLattice>(shr::Double, SampleType(m_Layout.format), dims,
                                                            coords.data(), nullptr, 1);
    }

    // Inline by inline: the traces of one inline are gathered, then written
    // out one sample plane row at a time.
    void ReadSamples(core::VdLattice& lattice)
    {
        const size_t nx = m_Crosslines.size();
        const size_t ni = m_Inlines.size();
        const size_t ns = size_t(m_Layout.samples);
        const size_t bytes = size_t(m_Layout.sampleBytes);
        std::vector<char> traces(nx * size_t(m_Layout.traceBytes));
        char* out = static_cast<char*>(lattice.DataWritePtr());
        for (size_t j = 0; j < ni; ++j) {
            for (size_t i = 0; i < nx; ++i)
                ReadTrace(m_NodeTrace[j * nx + i], &traces[i * size_t(m_Layout.traceBytes)]);
            for (size_t s = 0; s < ns; ++s) {
                char* row = out + ((ni * (ns - 1 - s) + j) * nx) * bytes;
                for (size_t i = 0; i < nx; ++i)
                    std::memcpy(row + i * bytes, &traces[i * size_t(m_Layout.traceBytes) + s * bytes], bytes);
            }
        }
        BlankMissingTraces(lattice);
        lattice.DataModified();
    }

    void ReadTrace(long trace, char* buffer) const
    {
        if (trace < 0) {
            std::memset(buffer, 0, size_t(m_Layout.traceBytes));
            return;
        }
        if (segy_readtrace(m_File, int(trace), buffer, m_Layout.trace0, int(m_Layout.traceBytes)) != SEGY_OK)
            FailTrace(trace, "the samples cannot be read");
        segy_to_native(m_Layout.format, m_Layout.samples, buffer);
    }

    void BlankMissingTraces(core::VdLattice& lattice) const
    {
        const size_t nx = m_Crosslines.size();
        for (size_t node = 0; node < m_NodeTrace.size(); ++node) {
            if (m_NodeTrace[node] >= 0)
                continue;
            for (unsigned int k = 0; k < Dims(2); ++k)
                lattice.SetBlank(unsigned(node % nx), unsigned(node / nx), k);
        }
    }

    const shr::GString m_Path;
    const shr::GString m_Name;
    const SegySettings m_Settings;
    Layout m_Layout;
    segy_file* m_File = nullptr;
    std::vector<TraceHead> m_Heads;
    std::vector<int> m_Inlines;
    std::vector<int> m_Crosslines;
    bool m_CrosslinesReversed = false;
    std::vector<long> m_NodeTrace;
    bool m_AllAtZero = true;
    double m_Quantum = 1.0;
    double m_Delay = 0.0;
    double m_Interval = 0.0;
    AffineGrid m_Grid;
    bool m_Regular = true;
};

int HeaderByte(const FileOptions& options, const char* key, int fallback)
{
    const int byte = int(options.Integer(key, fallback, 1, SEGY_TRACE_HEADER_SIZE - 1));
    char header[SEGY_TRACE_HEADER_SIZE] = {};
    int32_t value = 0;
    if (segy_get_field(header, byte, &value) != SEGY_OK)
        options.Fail(key, "byte " + std::to_string(byte) + " is not the start of a trace header field");
    return byte;
}

} // namespace

SegySettings SegyReader::Settings(const FileOptions& options)
{
    SegySettings settings;
    settings.inlineByte = HeaderByte(options, "inlineByte", settings.inlineByte);
    settings.crosslineByte = HeaderByte(options, "crosslineByte", settings.crosslineByte);
    settings.xByte = HeaderByte(options, "xByte", settings.xByte);
    settings.yByte = HeaderByte(options, "yByte", settings.yByte);
    settings.scalarByte = HeaderByte(options, "scalarByte", settings.scalarByte);
    settings.delayByte = HeaderByte(options, "delayByte", settings.delayByte);
    settings.sampleInterval = options.Number("sampleInterval", 0.0);
    if (settings.sampleInterval < 0.0)
        options.Fail("sampleInterval", "must not be negative");
    options.CheckAllUsed("a SEG-Y file takes no setting \"%s\"");
    return settings;
}

bool SegyReader::Recognise(const unsigned char* head, size_t size, uint64_t fileSize)
{
    std::string why;
    ParseLayout(head, size, fileSize, why);
    return why.empty();
}

std::unique_ptr<core::VdLattice> SegyReader::Read(const shr::GString& path, const shr::GString& displayName,
                                                  const SegySettings& settings)
{
    return CubeReader(path, displayName.empty() ? path : displayName, settings).Read();
}

} // namespace host
