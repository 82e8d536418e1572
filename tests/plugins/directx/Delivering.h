#pragma once

#include "directx/Interfaces.h"

#include <atomic>
#include <cstddef>
#include <thread>
#include <vector>

namespace TestFilters {

class TestFilter;

/// How a filter hands its audio on, in each of the ways of Delivery.
class Delivering {
public:
    explicit Delivering(TestFilter& owner) : filter(owner) {}
    ~Delivering() { End(); }
    Delivering(const Delivering&) = delete;
    Delivering& operator=(const Delivering&) = delete;

    /// The graph runs.
    void Begin();
    /// The graph stops: what was held back is forgotten.
    void End();

    /// What the filter does with a sample.
    HRESULT Receive(IMediaSample* sample);

private:
    HRESULT InPlace(IMediaSample* sample);
    HRESULT Late(const float* from, std::size_t floats);
    HRESULT InTwoPieces(const float* from, std::size_t floats);
    /// One sample of these floats times the gain, and of `further` zeros.
    HRESULT Copied(const float* from, std::size_t floats, std::size_t further = 0);
    void Flood();

    TestFilter& filter;
    std::vector<float> heldBack;
    std::atomic<bool> flooding = false;
    std::thread thread;
};

} // namespace TestFilters
