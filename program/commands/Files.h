// Reading and writing whole files. "-" means the standard input or output. Failures throw
// std::runtime_error with a message that names the file and the reason.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

// Throws for an empty file, too: no command has a use for it. So does one of more than 2147483647
// bytes, the most that a document may have, as a device such as /dev/zero would take all memory.
std::string readFile(const std::string& file);

// Throws for what cannot be watched, as it cannot be read again and again: a pipe or device, and
// whatever readFile throws for.
void requireWatchable(const std::string& file);

// Reads a file as it comes, such as from a pipe: `take` gets each piece, and returns how many
// milliseconds to wait for the next one before it gets an empty piece; -1: as long as it takes.
// Fails as readFile does.
void followFile(const std::string& file, const std::function<int(std::string_view)>& take);

// A regular file, or the one that a link leads to, is replaced once the new one is complete, and
// stays as it is on a failure. Anything else, such as a port or pipe, is opened as it is. Below
// /dev, where a port may be missing, no file is made.
void writeFile(const std::string& file, std::string_view bytes);

// A file that is written as its bytes come, so that what has come is there whatever happens. It
// must be a new one, or a port or pipe.
class NewFile {
public:
    explicit NewFile(const std::string& file);
    ~NewFile();
    void write(std::string_view bytes);
    // A write may fail as late as here.
    void close();

private:
    std::unique_ptr<class OpenFile> m_file;
};

// Throws if an output is a file that is one of the inputs, or if two outputs are the same.
void requireSeparate(const std::vector<std::string>& inputs,
                     const std::vector<std::string>& outputs);

// Whether the standard output is the terminal that a person works at. Another one may be a display
// at a serial port.
bool writesToPerson();
