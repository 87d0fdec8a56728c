#include "trend/Statistics.h"

#include <algorithm>
#include <cmath>

namespace trend {

void RunningStatistics::Add(double value) {
    ++count_;
    last_ = value;
    minimum_ = std::min(minimum_, value);
    maximum_ = std::max(maximum_, value);
    const double delta = value - mean_;
    mean_ += delta / static_cast<double>(count_);
    m2_ += delta * (value - mean_);
}

std::optional<double> RunningStatistics::StandardDeviation() const {
    if (count_ < 2)
        return std::nullopt;
    return std::sqrt(m2_ / static_cast<double>(count_ - 1));
}

void Moments::Add(double time, double value) {
    count += 1;
    const double dt = time - meanTime;
    const double dv = value - meanValue;
    meanTime += dt / count;
    meanValue += dv / count;
    m2Time += dt * (time - meanTime);
    m2Value += dv * (value - meanValue);
    coMoment += dt * (value - meanValue);
}

void Moments::Merge(const Moments& other) {
    if (other.count == 0)
        return;
    if (count == 0) {
        *this = other;
        return;
    }
    const double total = count + other.count;
    const double dt = other.meanTime - meanTime;
    const double dv = other.meanValue - meanValue;
    const double weight = count * other.count / total;
    meanTime += dt * other.count / total;
    meanValue += dv * other.count / total;
    m2Time += other.m2Time + dt * dt * weight;
    m2Value += other.m2Value + dv * dv * weight;
    coMoment += other.coMoment + dt * dv * weight;
    count = total;
}

std::optional<double> Moments::StandardDeviation() const {
    if (count < 2)
        return std::nullopt;
    return std::sqrt(m2Value / (count - 1));
}

std::optional<double> Moments::Slope() const {
    if (count < 2 || m2Time <= 0)
        return std::nullopt;
    return coMoment / m2Time;
}

} // namespace trend
