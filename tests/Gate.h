#pragma once

#include <condition_variable>
#include <mutex>

// Holds worker threads at a point of the test's choosing: a thread that passes the gate
// waits there until the test opens it, and the test can see how many have come.
class Gate final
{
public:
    Gate() = default;
    Gate(const Gate&) = delete;
    Gate& operator=(const Gate&) = delete;

    // Counts the caller in, then blocks until the gate is open.
    void Pass();
    // Lets every waiting and every later caller through.
    void Open();
    int Arrived() const;

private:
    mutable std::mutex m_mutex;
    std::condition_variable m_opened;
    int m_arrived = 0;
    bool m_open = false;
};

// Opens a gate when it goes out of scope, so that a test that stops early still lets the
// threads it held end and be joined.
class GateOpener final
{
public:
    explicit GateOpener(Gate& gate) : m_gate(gate) {}
    ~GateOpener() { m_gate.Open(); }
    GateOpener(const GateOpener&) = delete;
    GateOpener& operator=(const GateOpener&) = delete;

private:
    Gate& m_gate;
};
