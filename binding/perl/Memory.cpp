#include "binding/perl/Memory.h"

#include "binding/perl/Function.h"

namespace {

// The memory, which follows its header. It belongs to the scalar that holds its address; a new
// thread's copy of that scalar owns it too.
struct alignas(std::max_align_t) Block {
    std::atomic<std::size_t> owners{1};
    std::size_t length = 0;

    unsigned char* bytes() { return reinterpret_cast<unsigned char*>(this + 1); }
};

void release(Block* block)
{
    if (--block->owners == 0) {
        std::free(block);
    }
}

struct Release {
    void operator()(Block* block) const { release(block); }
};

struct NewMemory {
    std::string perlClass;
    std::unique_ptr<Block, Release> block;
};

// length bytes of zeros. Throws std::bad_alloc.
NewMemory allocate(std::string perlClass, unsigned long length)
{
    void* const memory = length <= std::numeric_limits<std::size_t>::max() - sizeof(Block)
                             ? std::calloc(1, sizeof(Block) + length)
                             : nullptr;
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    NewMemory result{std::move(perlClass), {}};
    result.block.reset(new (memory) Block);
    result.block->length = length;
    return result;
}

NewMemory newBytes(std::string perlClass, std::string bytes)
{
    NewMemory result = allocate(std::move(perlClass), bytes.size());
    std::memcpy(result.block->bytes(), bytes.data(), bytes.size());
    return result;
}

std::string bytes(std::span<unsigned char> memory)
{
    return {memory.begin(), memory.end()};
}

unsigned long length(std::span<unsigned char> memory)
{
    return memory.size();
}

NewMemory newNumber(std::string perlClass, unsigned long value)
{
    NewMemory result = allocate(std::move(perlClass), sizeof value);
    new (result.block->bytes()) unsigned long(value);
    return result;
}

unsigned long value(unsigned long& number)
{
    return number;
}

void setValue(unsigned long& number, unsigned long value)
{
    number = value;
}

int onFree(pTHX_ SV*, MAGIC* magic)
{
    release(reinterpret_cast<Block*>(magic->mg_ptr));
    return 0;
}

int onClone(pTHX_ MAGIC* magic, CLONE_PARAMS*)
{
    ++reinterpret_cast<Block*>(magic->mg_ptr)->owners;
    return 0;
}

const MGVTBL kMagic = {nullptr, nullptr, nullptr, nullptr, onFree, nullptr, onClone, nullptr};

SV* toPerl(pTHX_ NewMemory memory)
{
    Block* const block = memory.block.release();
    SV* const pointer = sv_setref_pv(sv_newmortal(), memory.perlClass.c_str(), block->bytes());
    MAGIC* const magic = sv_magicext(SvRV(pointer), nullptr, PERL_MAGIC_ext, &kMagic,
                                     reinterpret_cast<const char*>(block), 0);
    magic->mg_flags |= MGf_DUP;
    return pointer;
}

// An object of the class that owns a block.
template <class T>
struct MemoryArgument {
    using Value = Block*;
    static Problem convert(pTHX_ SV* sv, Value& value)
    {
        if (!sv_isobject(sv) || !sv_derived_from(sv, Argument<T>::kType)) {
            return Problem::wrongType;
        }
        const MAGIC* const magic = mg_findext(SvRV(sv), PERL_MAGIC_ext, &kMagic);
        if (magic == nullptr) {
            return Problem::wrongType;
        }
        keepToEndOfStatement(aTHX_ SvRV(sv));
        value = reinterpret_cast<Block*>(magic->mg_ptr);
        return Problem::none;
    }
};

}  // namespace

template <>
struct Argument<std::span<unsigned char>> : MemoryArgument<std::span<unsigned char>> {
    static constexpr const char* kType = "KestrixDispEngine::Bytes";
    static Problem check(Value) { return Problem::none; }
    static std::span<unsigned char> pass(pTHX_ Value value)
    {
        return {value->bytes(), value->length};
    }
};

template <>
struct Argument<unsigned long&> : MemoryArgument<unsigned long&> {
    static constexpr const char* kType = "KestrixDispEngine::Number";
    static Problem check(Value value)  // it may be another object, blessed anew
    {
        return value->length == sizeof(unsigned long) ? Problem::none : Problem::wrongType;
    }
    static unsigned long& pass(pTHX_ Value value)
    {
        return *reinterpret_cast<unsigned long*>(value->bytes());
    }
};

namespace {

constexpr Function kFunctions[] = {
    {"Bytes::new", "class,bytes", Wrapper<newBytes>::call},
    {"Bytes::room", "class,length", Wrapper<allocate>::call},
    {"Bytes::bytes", "self", Wrapper<bytes>::call},
    {"Bytes::length", "self", Wrapper<length>::call},
    {"Number::new", "class,value", Wrapper<newNumber>::call},
    {"Number::value", "self", Wrapper<value>::call},
    {"Number::set", "self,value", Wrapper<setValue>::call},
};

}  // namespace

void installMemory(pTHX)
{
    for (const Function& row : kFunctions) {
        install(aTHX_ "KestrixDispEngine", row);
    }
}
