// Sends bytes through a serial port: unchanged, and to the last one.
#pragma once

#include "program/port/Descriptor.h"
#include "program/port/Signals.h"

#include <chrono>
#include <memory>
#include <string>
#include <string_view>

struct LineSettings {
    enum class Parity { none, odd, even };
    enum class Flow { none, rtscts, xonxoff };

    int speed = 9600;  // bits a second; one of speedList()
    Parity parity = Parity::none;
    int dataBits = 8;  // 7 or 8
    int stopBits = 1;  // 1 or 2
    Flow flow = Flow::none;
};

// Whether serial ports have the speed.
bool isSpeed(int speed);

// "50, 75, 110".
std::string speedList();

class SerialPort {
public:
    // Opens the port for this program alone, and gives it the settings; a pseudo-terminal, which
    // has no line, only those that it can have. What happens at the close is left to the port's
    // own settings: with "hupcl" its lines DTR and RTS drop, as after any other program. Throws
    // std::runtime_error, with a message that says what is wrong and what to do. Never makes a
    // file.
    SerialPort(const std::string& path, const LineSettings& settings);

    // Puts the port's settings back.
    ~SerialPort();
    SerialPort(const SerialPort&) = delete;
    SerialPort& operator=(const SerialPort&) = delete;

    // Returns when the last byte has left the machine. On a pseudo-terminal, that is when it is
    // ready to be read at the other end: how much is read cannot be seen here. Throws
    // std::runtime_error, with the number of bytes that have left, if no byte leaves for the time
    // of the timeout, at a signal, and if the port goes away; what has not left then is
    // thrown away.
    void send(std::string_view bytes, std::chrono::seconds timeout, const Signals& signals);

private:
    class FormerSettings;

    std::string m_path;
    std::chrono::milliseconds m_slack;  // that the line may need without a sign of progress
    Descriptor m_port;
    std::unique_ptr<FormerSettings> m_former;
};
