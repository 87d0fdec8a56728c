#pragma once
// The statistics of the trend: running figures over every value of a field
// (count, last, extremes, mean, spread), and the moments of (time, value)
// pairs that blocks of points keep, so that the mean, spread and slope of a
// span come from a few merged blocks rather than from every point again.
// Both use the numerically stable updates (Welford's, and Chan's merge), so a
// constant series has a spread of exactly 0 however long it runs.

#include <cstddef>
#include <limits>
#include <optional>

namespace trend {

// Every value of a field since the trend began.
class RunningStatistics {
public:
    void Add(double value);

    std::size_t Count() const { return count_; }
    // Meaningful once Count() > 0.
    double Last() const { return last_; }
    double Minimum() const { return minimum_; }
    double Maximum() const { return maximum_; }
    double Mean() const { return mean_; }
    // The sample standard deviation (n - 1); none below two values.
    std::optional<double> StandardDeviation() const;

private:
    std::size_t count_ = 0;
    double last_ = 0;
    double minimum_ = std::numeric_limits<double>::infinity();
    double maximum_ = -std::numeric_limits<double>::infinity();
    double mean_ = 0;
    double m2_ = 0;
};

// Count, means and (co)variance sums of (time, value) pairs; two sets merge
// into the set of their union.
struct Moments {
    double count = 0;
    double meanTime = 0;
    double meanValue = 0;
    double m2Time = 0;   // sum of squared time deviations
    double m2Value = 0;  // sum of squared value deviations
    double coMoment = 0; // sum of products of time and value deviations

    void Add(double time, double value);
    void Merge(const Moments& other);
    // The sample standard deviation of the values; none below two.
    std::optional<double> StandardDeviation() const;
    // The least-squares slope of value over time (value units per time
    // unit); none below two points or when all share one time.
    std::optional<double> Slope() const;
};

} // namespace trend
