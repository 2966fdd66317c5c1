#include "bench/References.h"

#include <benchmark/benchmark.h>
#include <libxml/xmlreader.h>
#include <unicode/unorm2.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

void fail(const std::string& message)
{
    std::fprintf(stderr, "kestrix-bench: %s\n", message.c_str());
    std::exit(1);
}

IcuConverter::IcuConverter(const char* codePage)
{
    UErrorCode error = U_ZERO_ERROR;
    m_utf8 = ucnv_open("UTF-8", &error);
    m_target = ucnv_open(codePage, &error);
    if (U_FAILURE(error)) {
        fail(std::string("ICU has no ") + codePage);
    }
}

IcuConverter::~IcuConverter()
{
    ucnv_close(m_utf8);
    ucnv_close(m_target);
}

std::size_t IcuConverter::convert(const std::string& text, std::vector<unsigned char>& out) const
{
    UErrorCode error = U_ZERO_ERROR;
    UChar pivot[1024];
    UChar* pivotSource = pivot;
    UChar* pivotTarget = pivot;
    auto* target = reinterpret_cast<char*>(out.data());
    const char* source = text.data();
    ucnv_convertEx(m_target, m_utf8, &target, target + out.size(), &source, source + text.size(),
                   pivot, &pivotSource, &pivotTarget, pivot + 1024, 1, 1, &error);
    return static_cast<std::size_t>(target - reinterpret_cast<char*>(out.data()));
}

std::size_t IcuConverter::convertComposed(const std::string& text,
                                          std::vector<unsigned char>& out) const
{
    UErrorCode error = U_ZERO_ERROR;
    static std::vector<UChar> utf16;
    static std::vector<UChar> composed;
    utf16.resize(text.size() + 1);
    composed.resize(text.size() + 1);
    const auto room = static_cast<int32_t>(utf16.size());
    ucnv_resetToUnicode(m_utf8);
    const int32_t length = ucnv_toUChars(m_utf8, utf16.data(), room, text.data(),
                                         static_cast<int32_t>(text.size()), &error);
    const int32_t nfc = unorm2_normalize(unorm2_getNFCInstance(&error), utf16.data(), length,
                                         composed.data(), room, &error);
    ucnv_resetFromUnicode(m_target);
    return static_cast<std::size_t>(ucnv_fromUChars(m_target, reinterpret_cast<char*>(out.data()),
                                                    static_cast<int32_t>(out.size()),
                                                    composed.data(), nfc, &error));
}

Iconv::Iconv(const char* codePage) : m_converter(iconv_open(codePage, "UTF-8")) {}

Iconv::~Iconv()
{
    iconv_close(m_converter);
}

void Iconv::convert(std::string& text, std::vector<unsigned char>& out) const
{
    char* source = text.data();
    std::size_t sourceSize = text.size();
    auto* target = reinterpret_cast<char*>(out.data());
    std::size_t room = out.size();
    benchmark::DoNotOptimize(iconv(m_converter, &source, &sourceSize, &target, &room));
}

void walkDocument(const std::string& xml)
{
    xmlTextReaderPtr reader =
        xmlReaderForMemory(xml.data(), static_cast<int>(xml.size()), nullptr, nullptr, 0);
    while (xmlTextReaderRead(reader) == 1) {
        const int type = xmlTextReaderNodeType(reader);
        if (type == XML_READER_TYPE_ELEMENT) {
            benchmark::DoNotOptimize(xmlTextReaderConstLocalName(reader));
            benchmark::DoNotOptimize(xmlTextReaderIsEmptyElement(reader));
            const xmlNode* const node = xmlTextReaderCurrentNode(reader);
            for (const xmlAttr* attribute = node->properties; attribute != nullptr;
                 attribute = attribute->next) {
                benchmark::DoNotOptimize(attribute->name[0]);
                benchmark::DoNotOptimize(attribute->children->content[0]);
            }
        } else if (type == XML_READER_TYPE_END_ELEMENT) {
            benchmark::DoNotOptimize(xmlTextReaderConstLocalName(reader));
        } else if (type == XML_READER_TYPE_TEXT) {
            xmlChar* const value = xmlTextReaderValue(reader);
            benchmark::DoNotOptimize(value[0]);
            xmlFree(value);
        }
    }
    xmlFreeTextReader(reader);
}

void readLines(const std::vector<std::string>& files)
{
    char line[1024];
    for (const std::string& file : files) {
        std::FILE* const stream = std::fopen(file.c_str(), "r");
        while (std::fgets(line, sizeof line, stream) != nullptr) {
            benchmark::DoNotOptimize(line[0]);
        }
        std::fclose(stream);
    }
}

void writeLines(std::size_t count)
{
    static const std::string line = "41 42 43 44 45 46 47 48 49 4A 4B 4C 4D 4E 4F 50\n";
    std::FILE* const file = std::fopen("written/reference.txt", "wb");
    for (std::size_t i = 0; i < count; ++i) {
        std::fwrite(line.data(), 1, line.size(), file);
    }
    std::fclose(file);
}

void writeDump(const std::string& text, int entries)
{
    std::FILE* const file = std::fopen("written/reference.txt", "wb");
    for (int entry = 0; entry < entries; ++entry) {
        for (std::size_t i = 0; i < text.size(); i += 16) {
            char line[64];
            std::size_t used = 0;
            for (std::size_t k = i; k < std::min(i + 16, text.size()); ++k) {
                const int count = std::snprintf(line + used, sizeof line - used, "%02X ",
                                                static_cast<unsigned char>(text[k]));
                used += static_cast<std::size_t>(count);
            }
            line[used - 1] = '\n';
            std::fwrite(line, 1, used, file);
        }
    }
    std::fclose(file);
}
