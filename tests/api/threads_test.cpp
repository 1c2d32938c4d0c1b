// Separate handles on separate threads: each thread opens, runs, reads and
// closes its own circuits, and sees only its own error texts.
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <string>
#include <thread>
#include <vector>

#include "qz3.h"

namespace {

const std::string kRc = std::string(QZ3_TEST_DATA_DIR) + "/circuits/ac_rc.qz3";

// One life of a circuit: a 1 V step into 1 kOhm and 1 uF for 1 ms, read
// back and checked against 1 - exp(-1); an AC sweep too. False with the
// first thing that went wrong.
bool OneCircuit(double value, std::string& failure) {
    const int ncir = QZ3_Open(kRc.c_str());
    if (ncir < 0) return failure = QZ3_GetError(), false;
    bool ok = QZ3_SetValue(ncir, "V1.V", value) == 0 && std::string(QZ3_GetError()) == "OK";
    const int trace = QZ3_AddVTrace(ncir, "C1");
    ok = ok && trace >= 0 && QZ3_Start(ncir) == 0 && QZ3_Simulate(ncir, 1e-3) == 0;
    double t = 0, v = 0;
    ok = ok && QZ3_GetLastData(ncir, trace, &t, &v) == 0;
    ok = ok && std::fabs(v - value * (1 - std::exp(-t / 1e-3))) < 1e-3 && QZ3_CalcAC(ncir) == 0;
    if (!ok) failure = QZ3_GetError();
    QZ3_Close(ncir);
    return ok;
}

}  // namespace

TEST(Threads, SeparateHandlesOnSeparateThreadsRunTogether) {
    constexpr int kThreads = 4, kRounds = 200;
    std::atomic<int> failures{0};
    std::vector<std::string> firstFailure(kThreads);
    std::vector<std::thread> threads;
    for (int k = 0; k < kThreads; ++k) {
        threads.emplace_back([k, &failures, &firstFailure] {
            for (int round = 0; round < kRounds; ++round) {
                std::string failure;
                if (OneCircuit(1.0 + k, failure)) continue;
                if (failures.fetch_add(1) == 0 || firstFailure[k].empty()) firstFailure[k] = failure;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(failures.load(), 0) << firstFailure[0] << firstFailure[1] << firstFailure[2] << firstFailure[3];
}

// While one thread fails again and again, another succeeds: each reads its
// own text.
TEST(Threads, EachThreadReadsItsOwnError) {
    std::atomic<bool> stop{false};
    std::atomic<int> wrong{0};
    std::thread failing([&] {
        while (!stop.load()) {
            QZ3_Close(-12345);
            if (std::string(QZ3_GetError()).rfind("QZ3_Close: ", 0) != 0) wrong.fetch_add(1);
        }
    });
    for (int i = 0; i < 20000; ++i) {
        const int ncir = QZ3_Open(kRc.c_str());
        if (ncir < 0 || std::string(QZ3_GetError()) != "OK") wrong.fetch_add(1);
        if (ncir >= 0) QZ3_Close(ncir);
        if (i >= 200) break;
    }
    stop.store(true);
    failing.join();
    EXPECT_EQ(wrong.load(), 0);
}

// A thread that has used a circuit, and then sees it closed by another
// thread, finds the handle gone; a circuit opened since answers it.
TEST(Threads, ACircuitClosedElsewhereIsGoneForTheThreadThatUsedIt) {
    const int first = QZ3_Open(kRc.c_str());
    ASSERT_GE(first, 0) << QZ3_GetError();
    const int trace = QZ3_AddVTrace(first, "C1");
    ASSERT_GE(trace, 0) << QZ3_GetError();
    std::atomic<int> stage{0};
    int second = -1;
    std::vector<std::string> said;
    std::thread reader([&] {
        said.push_back(QZ3_GetDataSize(first, trace) == 0 ? QZ3_GetError() : "failed");
        stage.store(1);
        while (stage.load() != 2) std::this_thread::yield();
        QZ3_GetDataSize(first, trace);
        said.push_back(QZ3_GetError());
        said.push_back(QZ3_GetDataSize(second, QZ3_AddVTrace(second, "C1")) == 0 ? QZ3_GetError() : "failed");
    });
    while (stage.load() != 1) std::this_thread::yield();
    ASSERT_EQ(QZ3_Close(first), 0);
    second = QZ3_Open(kRc.c_str());
    stage.store(2);
    reader.join();
    EXPECT_EQ(said, (std::vector<std::string>{"OK", "QZ3_GetDataSize: wrong circuit handle", "OK"}));
    QZ3_Close(second);
}
