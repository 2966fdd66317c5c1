// Turns XML display documents into the command bytes of a customer display.
//
//     KestrixDispEngine engine;
//     std::string bytes = engine.parse("<ovix-display><clear/></ovix-display>", "DEVICE", "ID");
//
// Threads: nothing is locked. Only one engine at a time in a process may be parsing, under
// construction or under destruction.
#ifndef KESTRIX_ENGINE_KESTRIX_DISP_ENGINE_H
#define KESTRIX_ENGINE_KESTRIX_DISP_ENGINE_H

#include "TagParser.h"

#include <map>
#include <string>

// Element name -> its parser. Names are looked up by content.
using ParserMap = std::map<const char*, TagParser*, compare>;

class KESTRIX_API KestrixDispEngine {
public:
    // The parsers called at an element's start tag ("text", "marquee" and "command": at its end
    // tag) and at its end tag. The keys are the TAG_ constants below. A parser belongs to the
    // engines whose maps hold it: the last of them deletes it. An entry put in here must come from
    // new; one taken out here is the caller's. A null entry counts as none. Names are looked up at
    // each tag, so a change takes effect at the next one, also in the document at hand.
    ParserMap funcMapBegin;
    ParserMap funcMapEnd;

    // Device information string -> converter handle opened for it, 1..254. A handle is closed by
    // the last engine whose map holds it.
    std::map<const std::string, short> ucHandleMap;

    // The converter handle of the latest parse in this process, or the negative code of its failed
    // open (enum RuvoStatus in converter/RuvoConverter.h). The text parsers convert through it.
    static short ucHandle;

    // Element names.
    static constexpr char TAG_TEXT[] = "text";
    static constexpr char TAG_WINDOW[] = "window";
    static constexpr char TAG_RESET[] = "reset";
    static constexpr char TAG_OVIXD[] = "ovix-display";
    static constexpr char TAG_CURSOR[] = "cursor";
    static constexpr char TAG_CLEAR[] = "clear";
    static constexpr char TAG_BLINK[] = "blink";
    static constexpr char TAG_BRIGHTNESS[] = "brightness";
    static constexpr char TAG_MARQUEE[] = "marquee";
    static constexpr char TAG_CLOCK[] = "clock";
    static constexpr char TAG_COMMAND[] = "command";

    static constexpr char LANG_DEFAULT[] = "en";  // the language at the start of every document
    static constexpr int LANG_BUF_LEN = 32;       // bytes of the language buffer, with terminator
    static constexpr int TAG_BUF_LEN = 32;        // for callers that keep element names

    // Fills funcMapBegin and funcMapEnd. Opens no converter handle.
    // Throws std::bad_alloc, leaving nothing behind.
    KestrixDispEngine();

    // Deletes the parsers and closes the handles.
    ~KestrixDispEngine();

    KestrixDispEngine(const KestrixDispEngine&) = delete;
    KestrixDispEngine& operator=(const KestrixDispEngine&) = delete;
    KestrixDispEngine(KestrixDispEngine&&) = delete;
    KestrixDispEngine& operator=(KestrixDispEngine&&) = delete;

    // Turns one document into command bytes.
    //
    // data     the XML document, at most INT_MAX bytes, in any encoding that it declares
    // devInfo  name of the device information file; selects the converter handle. A string not
    //          seen before opens one. It is looked up whole and opened up to its first NUL
    // setting  name of the converter's ID file, up to its first NUL; read only where devInfo opens
    //          a handle
    // returns  the command bytes, NUL bytes among them. Empty if the handle cannot be opened
    //          (getUCHandle has the code, the next parse tries again), or if data is longer than
    //          INT_MAX. Of a malformed document the bytes up to the error. Where memory runs out
    //          the result may be empty, end early, or lack a text; commands are whole all the same
    //
    // Every document starts in the language "en". One thing outlives a document: the code table
    // that the handle selected last. A character that several tables have is taken from that one.
    // Each text selects its table itself.
    std::string parse(std::string data, std::string devInfo, std::string setting) noexcept;

    // Whether funcMap holds key, by content. False for null.
    bool hasParser(const char* key, const ParserMap& funcMap) const;

    // ucHandle: 1..254, a negative code, or 0 before the first parse of the process.
    static short getUCHandle();

    // The converter's functions of the same names; see converter/RuvoConverter.h.
    static short RuvoOpenHandle(const unsigned char* pucDeviceInfo,
                                unsigned long ulDeviceInfoLength, const unsigned char* pucID,
                                unsigned long ulIDLength);
    static short RuvoSetData(short sHandle, unsigned char* pucData, unsigned long ulDataLength);
    static short RuvoGetOutputData(short sHandle, unsigned char* pucPrintData,
                                   unsigned long* pulLength);
    static short RuvoCloseHandle(short sHandle);
};

#endif
