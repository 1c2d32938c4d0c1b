#include <atomic>
#include "traces/data.h"
#include "traces/chunk_memory.h"
#include "base/constants.h"

#include "expr/number_text.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

namespace qz3 {

namespace {

std::atomic<int64_t> g_LiveChunks{0};

const double kNaN = std::numeric_limits<double>::quiet_NaN();

// Times equal within min(|a|,|b|)*1e-12, the comparison of event times.
bool SameTime(double a, double b) { return RealSame(a, b); }

bool NotAfter(double pointTime, double t) { return RealCompare(pointTime, t) <= 0; }

}  // namespace

CData::CData(CDataLink* link, int id, uint32_t width)
    : m_Link(link), m_Id(id), m_Width(width == 3 ? 3 : 2), m_PointSize(m_Width * 8), m_Annotations(m_Width == 2) {}

CData::~CData() { Clear(); }

int64_t CData::LiveChunks() { return g_LiveChunks; }

bool CData::SetStoredType(uint32_t type, double xZero, double xScale, double yZero, double yScale,
                          double yOffset) {
    if (type < kSampleInt8 || type > kSampleFloat64 || m_Count != 0 || m_Blocks.Count() != 0)
        return false;
    m_Type = type;
    m_Width = 1;
    m_PointSize = SampleSize(type);
    m_XZero = xZero;
    m_XScale = xScale;
    m_YZero = yZero;
    m_YScale = yScale;
    m_YOffset = yOffset;
    return true;
}

int CData::AddSamples(const void* raw, int count) {
    if (m_Type == kSampleDouble || raw == nullptr) return 0;
    const auto* from = static_cast<const unsigned char*>(raw);
    int kept = 0;
    for (; kept < count; ++kept) {
        if (m_Count / kBlockPoints >= m_Blocks.Count() && !NewBlock()) break;
        CDataBlock* block = m_Blocks[m_Count / kBlockPoints];
        const int place = m_Count % kBlockPoints;
        std::memcpy(block->m_Data + static_cast<size_t>(place) * m_PointSize,
                    from + static_cast<size_t>(kept) * m_PointSize, m_PointSize);
        block->Widen(block->SampleValue(place));
        ++block->m_Count;
        ++m_Count;
    }
    return kept;
}

// Repeats within the compression tolerance: the stretch is kept as its first
// point and its end, whose time then follows the stretch. The value of the
// first point is overwritten, so the block has to have seen it before.
void CData::StartFlatStretch(double v) {
    SettleOpenBlock();
    m_Last[1] = v;
    m_Flat = true;
}

bool CData::ReplaceFirstPoint(double t, double v) {
    if (m_Type != kSampleDouble || m_Count == 0) return false;
    SettleOpenBlock();
    double* first = m_Blocks[0]->PointAt(0);
    first[0] = t;
    first[1] = v;
    return true;
}

// Once per block: the block left is settled, the block of the next point is
// found or made (a recycle shortens the run, so its number is computed anew
// and the data lost are reported), and the cursor is set at its place.
int CData::StoreInNextBlock(double t, double v, double third) {
    SettleOpenBlock();
    CloseCursor();
    if (m_Link != nullptr) ++m_Link->points;
    int result = 1;
    int block = m_Count / kBlockPoints;
    if (block >= m_Blocks.Count()) {
        if (!NewBlock()) return 0;
        const int again = m_Count / kBlockPoints;
        if (again != block) result = 0;
        block = again;
    }
    OpenCursor(block);
    WriteAtCursor(t, v, third);
    return result;
}

void CData::OpenCursor(int block) {
    const int place = m_Count % kBlockPoints;
    m_FillBlock = m_Blocks[block];
    m_Fill = m_FillBlock->PointAt(place);
    m_Room = kBlockPoints - place;
    m_Settled = place;
}

void CData::CloseCursor() {
    m_FillBlock = nullptr;
    m_Fill = nullptr;
    m_Room = 0;
    m_Settled = 0;
}

// Each point is taken in once, in the order stored: a block that held points
// before a DeleteOld keeps its old count and extremes and widens them, as it
// would have point by point.
void CData::SettleOpenBlock() {
    if (m_FillBlock == nullptr) return;
    const int end = kBlockPoints - m_Room;
    m_FillBlock->TakeIn(m_Settled, end);
    m_Settled = end;
}

bool CData::NewBlock() {
    if (m_Chunk == nullptr) {
        unsigned char* chunk = AllocateChunk();
        if (chunk == nullptr) {
            // A stored run is a fixed record: recycling would misplace the
            // times of its samples, so it just stops growing.
            if (m_Blocks.Count() == 0 || m_Type != kSampleDouble) return false;
            chunk = RecycleOldestChunk();
        }
        m_Chunk = chunk;
        m_ChunkUsed = 0;
    }
    auto* block = new (std::nothrow) CDataBlock(m_Type, m_Width, m_PointSize);
    if (block == nullptr) return false;
    const int index = m_Blocks.Count();
    try {
        m_Blocks.Add(block);
    } catch (const std::bad_alloc&) {
        delete block;
        return false;
    }
    block->m_Chunk = m_Chunk;
    block->m_ChunkIndex = m_ChunkUsed;
    const size_t blockBytes = static_cast<size_t>(m_PointSize) * kBlockPoints;
    block->m_Data = m_Chunk + m_ChunkUsed * blockBytes;
    if (m_ChunkUsed % kPrefaultBlocks == 0) PrefaultForWriting(block->m_Data, kPrefaultBlocks * blockBytes);
    block->m_XZero = m_XZero + static_cast<double>(index) * kBlockPoints * m_XScale;
    block->m_XScale = m_XScale;
    block->m_YZero = m_YZero;
    block->m_YScale = m_YScale;
    block->m_YOffset = m_YOffset;
    if (++m_ChunkUsed == kChunkBlocks) m_Chunk = nullptr;
    return true;
}

unsigned char* CData::AllocateChunk() {
    const size_t bytes = static_cast<size_t>(m_PointSize) * kChunkPoints;
    if (m_Gate != nullptr && !m_Gate(bytes, m_GateContext)) return nullptr;
    auto* chunk = static_cast<unsigned char*>(std::malloc(bytes));
    if (chunk == nullptr) return nullptr;
    ++g_LiveChunks;
    m_Bytes += static_cast<int64_t>(bytes);
    AddToSetBytes(static_cast<int64_t>(bytes));
    return chunk;
}

unsigned char* CData::RecycleOldestChunk() {
    unsigned char* chunk = m_Blocks[0]->m_Chunk;
    int dropped = 0;
    while (dropped < m_Blocks.Count() && m_Blocks[dropped]->m_Chunk == chunk) {
        m_Count -= std::min<int>(static_cast<int>(m_Blocks[dropped]->m_Count), m_Count);
        delete m_Blocks[dropped];
        ++dropped;
    }
    for (int i = 0; i < dropped; ++i) m_Blocks.Delete(0);
    return chunk;
}

void CData::FreeChunks() {
    unsigned char* previous = nullptr;
    for (CDataBlock* block : m_Blocks) {
        // The blocks of one chunk stand together in the list.
        if (block->m_Chunk != previous) {
            std::free(block->m_Chunk);
            --g_LiveChunks;
            previous = block->m_Chunk;
        }
    }
    // An open chunk that never gave a block (its block record was refused).
    if (m_Chunk != nullptr && m_ChunkUsed == 0) {
        std::free(m_Chunk);
        --g_LiveChunks;
    }
}

void CData::AddToSetBytes(int64_t bytes) {
    if (m_Link != nullptr && m_Link->setBytes != nullptr) *m_Link->setBytes += bytes;
}

void CData::Clear() {
    CloseCursor();
    FreeChunks();
    for (CDataBlock* block : m_Blocks) delete block;
    m_Blocks.Clear();
    // A new run may repeat the count and the last time of the old one.
    m_Measured = CMeasureMemo{};
    AddToSetBytes(-m_Bytes);
    m_Bytes = 0;
    m_Count = 0;
    m_Chunk = nullptr;
    m_ChunkUsed = 0;
    m_Flat = false;
    m_Last = nullptr;
}

int CData::ChunkCount() const {
    int chunks = 0;
    const unsigned char* previous = nullptr;
    for (const CDataBlock* block : m_Blocks) {
        if (block->m_Chunk != previous) ++chunks;
        previous = block->m_Chunk;
    }
    return chunks;
}

int CData::LiveCount(int block) const {
    const int rest = m_Count - block * kBlockPoints;
    return rest < 0 ? 0 : std::min(rest, kBlockPoints);
}

double CData::RawTime(int index) const {
    const CDataBlock* block = m_Blocks[index / kBlockPoints];
    const int place = index % kBlockPoints;
    return m_Type == kSampleDouble ? block->PointAt(place)[0] : block->SampleTime(place);
}

double CData::ApplyMode(double v) const {
    if (m_Link == nullptr) return v;
    if (m_Link->mode == kTraceDigital) return v > m_Link->threshold ? 1.0 : 0.0;
    if (m_Link->mode == kTraceBus) return std::floor(v + 0.5);
    return v;
}

bool CData::GetPoint(int index, double& t, double& v, bool apply) const {
    if (index < 0 || index >= m_Count) {
        t = v = 0.0;
        return false;
    }
    const CDataBlock* block = m_Blocks[index / kBlockPoints];
    const int place = index % kBlockPoints;
    if (m_Type == kSampleDouble) {
        const double* point = block->PointAt(place);
        t = point[0];
        v = point[1];
    } else {
        t = block->SampleTime(place);
        v = block->SampleValue(place);
    }
    if (m_Link != nullptr) t += m_Link->shift;
    if (apply) v = ApplyMode(v);
    return true;
}

bool CData::GetACPoint(int index, double& f, double& magnitude, double& phase) const {
    if (index < 0 || index >= m_Count || m_Type != kSampleDouble || m_Width < 3) {
        f = magnitude = phase = 0.0;
        return false;
    }
    const double* point = m_Blocks[index / kBlockPoints]->PointAt(index % kBlockPoints);
    f = point[0];
    magnitude = point[1];
    phase = point[2];
    return true;
}

int CData::FindIndex(double t) const {
    if (m_Link != nullptr) t -= m_Link->shift;
    return m_Type == kSampleDouble ? FindPointIndex(t) : FindSampleIndex(t);
}

int CData::FindSampleIndex(double t) const {
    if (m_Count == 0 || !(t >= m_XZero)) return -1;
    const double last = m_Count - 1;
    const double index = m_XScale > 0.0 ? std::floor((t - m_XZero) / m_XScale) : 0.0;
    return static_cast<int>(std::clamp(index, 0.0, last));
}

int CData::FindPointIndex(double t) const {
    const int blocks = LiveBlocks();
    if (blocks == 0 || !NotAfter(RawTime(0), t)) return -1;
    // The last block whose first time isn't after t.
    int low = 0;
    int high = blocks - 1;
    while (low < high) {
        const int mid = (low + high + 1) / 2;
        if (NotAfter(RawTime(mid * kBlockPoints), t))
            low = mid;
        else
            high = mid - 1;
    }
    const int block = low;
    const int base = block * kBlockPoints;
    low = 0;
    high = LiveCount(block) - 1;
    while (low < high) {
        const int mid = (low + high + 1) / 2;
        if (NotAfter(RawTime(base + mid), t))
            low = mid;
        else
            high = mid - 1;
    }
    return base + low;
}

bool CData::GetValueAt(double t, double& out, bool apply) const {
    out = kNaN;
    const int index = FindIndex(t);
    double t1 = 0.0;
    double v1 = 0.0;
    if (!GetPoint(index, t1, v1, apply)) return false;
    if (index == m_Count - 1) {
        if (!SameTime(t1, t)) return false;
        out = v1;
        return true;
    }
    const bool holds = apply && m_Link != nullptr && m_Link->mode != kTraceAnalog;
    if (holds) {  // logic holds its value until the next point
        out = v1;
        return true;
    }
    double t2 = 0.0;
    double v2 = 0.0;
    GetPoint(index + 1, t2, v2, apply);
    out = t2 > t1 ? v1 + (v2 - v1) * (t - t1) / (t2 - t1) : v1;
    return true;
}

double CData::AcValue(double magnitude, double phase) const {
    // Degrees to radians with the engine's own digits of pi.
    constexpr double kRadians = kPi / 180.0;
    const int form = m_Link != nullptr ? m_Link->acOut : kAcMagPhase;
    if (form == kAcReal) return magnitude * std::cos(phase * kRadians);
    if (form == kAcImag) return magnitude * std::sin(phase * kRadians);
    return magnitude;
}

bool CData::ReadAcSample(int index, AcSample& out) const {
    double magnitude = 0.0;
    if (!GetACPoint(index, out.f, magnitude, out.phase)) return false;
    out.value = AcValue(magnitude, out.phase);
    if (m_Link == nullptr || !m_Link->dbY) return true;
    if (!(out.value >= 1e-30 && out.value <= 1e300)) return false;
    out.value = 20.0 * std::log10(out.value);
    return true;
}

bool CData::GetACValueAt(double f, double& value, double& dB, double& phase) const {
    value = dB = phase = kNaN;
    const bool logX = m_Link != nullptr && m_Link->logX;
    const bool dbY = m_Link != nullptr && m_Link->dbY;
    if (logX && !(f > 0.0)) return false;
    const int index = FindIndex(f);
    AcSample a{};
    if (!ReadAcSample(index, a)) return false;
    AcSample result = a;
    if (index == m_Count - 1) {
        if (!SameTime(a.f, f)) return false;
    } else {
        AcSample b{};
        if (!ReadAcSample(index + 1, b)) return false;
        if (b.f > a.f) {
            if (logX && !(a.f > 0.0)) return false;
            const double fraction =
                logX ? std::log10(f / a.f) / std::log10(b.f / a.f) : (f - a.f) / (b.f - a.f);
            result.value = a.value + (b.value - a.value) * fraction;
            result.phase = a.phase + (b.phase - a.phase) * fraction;
        }
    }
    value = result.value;
    phase = result.phase;
    if (dbY)
        dB = value;
    else if (value >= 1e-30 && value <= 1e300)
        dB = 20.0 * std::log10(value);
    return true;
}

void CData::DeleteOld(double t) {
    if (m_Type != kSampleDouble || m_Count <= 1) return;
    int first = m_Count - 1;
    while (first >= 0 && !NotAfter(RawTime(first), t)) --first;
    if (first <= 0) return;
    SettleOpenBlock();
    CloseCursor();
    m_Flat = false;
    m_Last = nullptr;
    const int kept = m_Count - first;
    for (int i = 0; i < kept; ++i) {
        const int from = first + i;
        const double* source = m_Blocks[from / kBlockPoints]->PointAt(from % kBlockPoints);
        double* target = m_Blocks[i / kBlockPoints]->PointAt(i % kBlockPoints);
        // What a read would give is what stays: the shift and the logic
        // levels are baked into the kept points.
        const double time = source[0] + (m_Link != nullptr ? m_Link->shift : 0.0);
        const double value = ApplyMode(source[1]);
        std::memmove(target, source, m_PointSize);
        target[0] = time;
        target[1] = value;
    }
    m_Count = kept;
    // The blocks now hold other points: their kept sums and the last
    // measurement are of what was dropped.
    for (CDataBlock* block : m_Blocks) block->m_StatValid = false;
    m_Measured = CMeasureMemo{};
}

bool CData::WriteBinary(FILE* file) const {
    if (file == nullptr) return false;
    for (int b = 0; b < LiveBlocks(); ++b) {
        const size_t points = static_cast<size_t>(LiveCount(b));
        if (std::fwrite(m_Blocks[b]->m_Data, m_PointSize, points, file) != points) return false;
    }
    return true;
}

}  // namespace qz3
