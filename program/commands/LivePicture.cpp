#include "program/commands/LivePicture.h"

#include "program/commands/Files.h"
#include "program/emulate/Window.h"

#include <string>

void LivePicture::draw(const Screen& screen)
{
    const WindowSize window = windowSize();
    const std::string picture =
        drawText(screen, Highlight::sgr, m_options.frame(), m_options.origin);
    std::string text;
    int rows = 0;
    for (std::size_t at = 0; at < picture.size(); ++rows) {
        const std::size_t end = picture.find('\n', at);
        const std::string line = picture.substr(at, end - at);
        // Lines below the frame have no control sequences.
        text += (rows < screen.size.lines + 2 ? line : clipped(line, window.columns)) + "\n";
        at = end + 1;
    }
    if (rows >= window.rows || screen.size.columns + 2 > window.columns) {
        text = clipped("this window is too small; the display follows at the end",
                       window.columns - 1) +
               "\n";
        rows = 1;
    }
    erase();
    writeFile("-", text);
    m_rows = rows;
}

void LivePicture::erase()
{
    if (m_rows != 0) {
        writeFile("-", "\x1B[" + std::to_string(m_rows) + "F\x1B[J");
        m_rows = 0;
    }
}
