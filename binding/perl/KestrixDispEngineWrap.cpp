// The Perl module: the functions of package KestrixDispEnginec, and the boot function.
#include "binding/perl/Function.h"
#include "binding/perl/Memory.h"
#include "binding/perl/Variables.h"

namespace {

constexpr char kPackage[] = "KestrixDispEnginec";

using Engine = KestrixDispEngine;

std::unique_ptr<Engine> create()
{
    return std::make_unique<Engine>();
}

void destroy(std::unique_ptr<Engine>) {}

std::string parse(Engine& self, std::string data, std::string devInfo, std::string setting)
{
    return self.parse(std::move(data), std::move(devInfo), std::move(setting));
}

bool hasParser(Engine& self, const char* key, const ParserMap& funcMap)
{
    return self.hasParser(key, funcMap);
}

template <auto member>
auto address(Engine& self)
{
    return &(self.*member);
}

template <ParserMap Engine::*member>
void assignParsers(Engine& self, ParserMap map)
{
    replaceParsers(self.*member, std::move(map));
}

void assignHandles(Engine& self, HandleMap map)
{
    replaceHandles(self.ucHandleMap, std::move(map));
}

constexpr Function kFunctions[] = {
    {"new_KestrixDispEngine", "", Wrapper<create>::call},
    {"delete_KestrixDispEngine", "self", Wrapper<destroy>::call},
    {"KestrixDispEngine_parse", "self,data,devInfo,setting", Wrapper<parse>::call},
    {"KestrixDispEngine_getUCHandle", "", Wrapper<Engine::getUCHandle>::call},
    {"KestrixDispEngine_hasParser", "self,key,funcMap", Wrapper<hasParser>::call},
    {"KestrixDispEngine_funcMapBegin_set", "self,funcMapBegin",
     Wrapper<assignParsers<&Engine::funcMapBegin>>::call},
    {"KestrixDispEngine_funcMapBegin_get", "self", Wrapper<address<&Engine::funcMapBegin>>::call},
    {"KestrixDispEngine_funcMapEnd_set", "self,funcMapEnd",
     Wrapper<assignParsers<&Engine::funcMapEnd>>::call},
    {"KestrixDispEngine_funcMapEnd_get", "self", Wrapper<address<&Engine::funcMapEnd>>::call},
    {"KestrixDispEngine_ucHandleMap_set", "self,ucHandleMap", Wrapper<assignHandles>::call},
    {"KestrixDispEngine_ucHandleMap_get", "self", Wrapper<address<&Engine::ucHandleMap>>::call},
    {"KestrixDispEngine_RuvoOpenHandle", "pucDeviceInfo,ulDeviceInfoLength,pucID,ulIDLength",
     Wrapper<Engine::RuvoOpenHandle>::call},
    {"KestrixDispEngine_RuvoCloseHandle", "sHandle", Wrapper<Engine::RuvoCloseHandle>::call},
    {"KestrixDispEngine_RuvoSetData", "sHandle,pucData,ulDataLength",
     Wrapper<Engine::RuvoSetData>::call},
    {"KestrixDispEngine_RuvoGetOutputData", "sHandle,pucPrintData,pulLength",
     Wrapper<Engine::RuvoGetOutputData>::call},
};

}  // namespace

// Runs once in every interpreter that loads the module; a cloned one inherits what it made.
XS_EXTERNAL(boot_KestrixDispEngine) __attribute__((visibility("default")));

XS_EXTERNAL(boot_KestrixDispEngine)
{
    dXSBOOTARGSAPIVERCHK;
    PERL_UNUSED_VAR(items);
    for (const Function& row : kFunctions) {
        install(aTHX_ kPackage, row);
    }
    installVariables(aTHX_ kPackage);
    installMemory(aTHX);
    XSRETURN_YES;
}
