// A time-ordered memory of samples for elements with a pure delay: written
// at each accepted time point, read with interpolation at t minus the
// delay, and freed behind the read position, so that memory follows the
// delay and not the run. Samples lie in blocks of 1024; one spent block is
// kept for reuse, so a steady run allocates nothing.
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace qz3 {

class CDelay {
public:
    // 2: (time, value); 3: (time, two values).
    explicit CDelay(int width) : m_Width(width) {}
    virtual ~CDelay() = default;

    void Clear();
    // False when memory can't be had.
    bool Add(double t, double a, double b = 0.0);
    // The value at t, from the read position on; reading only goes forward.
    void Get(double t, double* a, double* b);
    // The unread samples as stored-state text; Load reads it back.
    std::string Text() const;
    void Load(const std::string& text);

    int Count() const { return m_Count; }
    int BlockCount() const { return static_cast<int>(m_Blocks.size()); }

private:
    static constexpr int kBlockSamples = 1024;
    const double* Sample(int index) const;

    int m_Width;
    std::vector<std::unique_ptr<double[]>> m_Blocks;
    std::unique_ptr<double[]> m_Spare;
    int m_Count = 0;
    int m_Read = 0;
};

}  // namespace qz3
