// The rows of the table of timed calls, and the handles and texts that they are made of.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

// One row: the work that is measured, the work that it is measured against, and the ratio of their
// times to reach.
struct Row {
    std::string measure;
    std::string reference;
    double target;
    std::function<void()> ours;
    std::function<void()> theirs;
};

// Makes all rows, in the order of the table. The current folder must be that of
// workInACopyOfTheProfile.
std::vector<Row> makeRows();

// Makes a temporary folder with the default profile in it the current one; it is removed when the
// program ends.
void workInACopyOfTheProfile();

// The paths of all files in the current folder.
std::vector<std::string> profileFiles();

// An open handle on the profile in the current folder. A failed open ends the program.
class Handle {
public:
    explicit Handle(const char* device = "default");
    ~Handle();
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    // Converts a text, asks for the length of the output and gets it. Returns that length, in
    // bytes; an output longer than `out` ends the program.
    std::size_t convert(std::string& text, std::vector<unsigned char>& out) const;

    operator short() const { return m_handle; }

private:
    short m_handle;
};

// A text to convert, and room for its output.
struct Work {
    std::string text;
    std::vector<unsigned char> out;
};

// A text of about `size` bytes, made of the phrase. Checks first that its conversion in one call
// gives the same bytes as the conversion of each character by itself; otherwise ends the program.
std::shared_ptr<Work> workFor(const std::string& phrase, std::size_t size);

// "40 B", "4 KB" or "1 MB".
std::string sizeName(std::size_t size);
