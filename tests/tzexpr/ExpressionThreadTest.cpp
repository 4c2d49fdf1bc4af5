// One expression object evaluated from many threads gives the serial results bit
// for bit.
#include "ExpressionTestUtil.h"

#include <cstring>
#include <thread>
#include <vector>

using namespace tzexpr;
using namespace tzexpr::test;

TEST(ExpressionThreads, ConcurrentEvaluationEqualsSerial)
{
    CExpression expression = ParseOrFail(
        "W = x > 0.5 ? sin(x * y) + sqrt(abs(z)) ^ 1.5 : atan2(y, x) * exp(-z * z) - min(x, y, z) % 0.3");
    expression.SetNodataHandling(true, -1.0);
    const size_t count = 20000;
    auto point = [](size_t n) {
        return std::vector<double>{0, double(n % 97) / 97.0, double(n % 13) - 6.5, double(n) / count - 0.5};
    };
    auto evaluateAll = [&](std::vector<double>& results) {
        results.assign(count, 0.0);
        for (size_t n = 0; n < count; ++n) {
            std::vector<double> values = point(n);
            if (n % 101 == 0)
                values[2] = -1.0; // no-data
            void const* inputs[] = {&values[0], &values[1], &values[2], &values[3]};
            if (!expression.Evaluate(inputs, &results[n], nullptr, nullptr))
                results[n] = -2.0;
        }
    };
    std::vector<double> serial;
    evaluateAll(serial);

    const size_t threadCount = 8;
    std::vector<std::vector<double>> parallel(threadCount);
    std::vector<std::thread> threads;
    for (size_t t = 0; t < threadCount; ++t)
        threads.emplace_back([&, t] { evaluateAll(parallel[t]); });
    for (std::thread& thread : threads)
        thread.join();
    for (size_t t = 0; t < threadCount; ++t) {
        ASSERT_EQ(parallel[t].size(), count);
        EXPECT_EQ(std::memcmp(parallel[t].data(), serial.data(), count * sizeof(double)), 0) << "thread " << t;
    }
    EXPECT_EQ(serial[101], -1.0);
}
