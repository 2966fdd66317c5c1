// How fast a serial line carries bytes.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>

class LinePace {
public:
    using Time = std::chrono::microseconds;

    // `speed` is in bits a second. On the line a byte has `bits`: with start, parity and stop bits.
    LinePace(int speed, int bits) : m_speed(speed), m_bits(bits) {}

    // There is something to carry from this time on, if there was not before.
    void begin(Time now)
    {
        if (!m_since) {
            m_since = now;
            m_taken = 0;
        }
    }
    // There is nothing to carry any more.
    void end() { m_since.reset(); }
    bool busy() const { return m_since.has_value(); }

    // How many bytes have come through and have not been taken.
    std::size_t due(Time now) const
    {
        const auto bits = (now - *m_since).count() * m_speed / kSecond;
        return static_cast<std::size_t>(bits / m_bits) - m_taken;
    }
    void take(std::size_t count) { m_taken += count; }

    // When the next byte has come through.
    Time nextDue() const
    {
        const Time::rep bits = static_cast<Time::rep>(m_taken + 1) * m_bits;
        return *m_since + Time((bits * kSecond + m_speed - 1) / m_speed);
    }

private:
    static constexpr Time::rep kSecond = 1'000'000;

    int m_speed;
    int m_bits;
    std::optional<Time> m_since;
    std::size_t m_taken = 0;
};
