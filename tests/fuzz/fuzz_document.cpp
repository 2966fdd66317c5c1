// Documents through an engine.
//
// What a document gives does not depend on the documents before it but in one way: a handle keeps
// its current code table. So each document here follows one that ends with the current table 0,
// and then gives the same on an engine with a long past as on a new one. Of a document and the same
// document cut anywhere, one gives the beginning of what the other gives.

#include "../unit/Bytes.h"
#include "FuzzTarget.h"
#include "converter/RuvoConverter.h"
#include "engine/KestrixDispEngine.h"

void writeProfile() {}

namespace {

std::string parse(KestrixDispEngine& engine, const std::string& document)
{
    std::string bytes = engine.parse(document, "DEVICE", "KESTRIX-TEST-NO-SUCH-ID");
    unsigned long buffered = 0;
    EXPECT_EQ(RUVO_OK, RuvoGetOutputData(KestrixDispEngine::getUCHandle(), nullptr, &buffered));
    EXPECT_EQ(0u, buffered);
    return bytes;
}

std::string parseFromTable0(KestrixDispEngine& engine, const std::string& document)
{
    EXPECT_TRUE(sameBytes(fromHex("1F 72 00 1B 74 00 41"), parse(engine, "<text>A</text>")));
    return parse(engine, document);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static KestrixDispEngine lasting;
    KestrixDispEngine fresh;
    const std::string document(reinterpret_cast<const char*>(data), size);
    const std::string whole = parseFromTable0(lasting, document);
    EXPECT_TRUE(sameBytes(parseFromTable0(fresh, document), whole));

    const std::size_t length = size == 0 ? 0 : size * data[size / 2] / 256;
    const std::string cut = parseFromTable0(lasting, document.substr(0, length));
    EXPECT_TRUE(whole.starts_with(cut) || cut.starts_with(whole))
        << "cut to " << length << ": " << toHex(cut) << "\nwhole: " << toHex(whole);
    return 0;
}
