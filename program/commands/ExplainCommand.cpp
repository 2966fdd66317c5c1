// kestrix-disp explain: a command stream in words.
#include "program/commands/Commands.h"
#include "program/commands/Files.h"
#include "program/commands/StreamInput.h"
#include "program/stream/Explanation.h"

#include <CLI/CLI.hpp>

#include <memory>
#include <string>
#include <string_view>

namespace {

// Explains raw bytes as they come.
int explainAsItComes(const StreamInput& input)
{
    const ProfileTables tables = readTables(input.profile);
    std::string text;
    Explanation explanation(tables, [&](std::string_view lines) { text += lines; });
    PieceReader reader;
    const auto explainRead = [&] {
        for (StreamItem item; reader.next(item);) {
            explanation.take(item);
        }
    };
    const auto writeText = [&] {
        if (!text.empty()) {
            writeFile("-", text);
            text.clear();
        }
    };
    followFile(input.file, [&](std::string_view piece) {
        if (piece.empty()) {
            explanation.flush();
        }
        reader.feed(byteSpan(piece));
        explainRead();
        writeText();
        return piece.empty() ? -1 : Explanation::kRunWait;
    });
    reader.finish();
    explainRead();
    explanation.flush();
    writeText();
    return kDone;
}

}  // namespace

Command explainCommand(CLI::App& program)
{
    const auto input = std::make_shared<StreamInput>();
    CLI::App* const arguments = program.add_subcommand(
        "explain", "Says what a command stream does, one line for each command and text");
    input->addTo(*arguments);
    return {arguments, [input] {
                if (input->raw) {
                    return explainAsItComes(*input);
                }
                const CommandBytes stream = input->readStream();
                explainStream(byteSpan(stream.bytes), readTables(input->profile),
                              [](std::string_view text) { writeFile("-", text); });
                return stream.whole ? kDone : kWrongInput;
            }};
}
