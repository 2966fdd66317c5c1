// Documents through an engine.
//
// The bytes of a document depend on earlier documents in one way only: a handle keeps its current
// code table. So each input follows a document that ends in table 0, and must give the same bytes
// on an engine that has parsed all earlier inputs as on a new one. A document that is cut anywhere
// must give the beginning of the bytes of the whole one.

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
