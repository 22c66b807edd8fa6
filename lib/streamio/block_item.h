// The items of a stored block: values, named values, functions and vectors, and the counted pointers that
// hold them.
//
// Items on the heap are held by CBlock_ptr only; an item may also live on the stack or as a member. Copies of
// functions share their arguments. Items and pointers have no locks: a tree belongs to one thread at a time.
//
// Conversions (`Get`) are false, and leave the target, for a value of another kind or out of the target's
// range.
#pragma once

#include <streamio/streamio_object.h>

#include <ctime>
#include <utility>
#include <vector>

namespace io {

class CTreeReader;

// What a tree holds in memory; strings are counted with their buffers. Each counter stops at its end.
struct CMemoryStats {
    std::uint32_t blocks = 0;
    std::uint32_t namedValues = 0;
    std::uint32_t values = 0;
    std::uint32_t funcs = 0;
    std::uint32_t vecs = 0;
    std::uint32_t elements = 0;
    std::uint32_t itemBytes = 0;
    std::uint32_t arrayBytes = 0;
    std::uint32_t strings = 0;
    std::uint32_t stringBytes = 0;

    CMemoryStats& operator+=(const CMemoryStats& other);
    void AddToken(const CToken& token);
};

class CBlock_item : public CStreamio_object {
public:
    ~CBlock_item() override;

    virtual AString& GetName(AString& out) const;
    virtual void SetName(const AString& name);
    // A static Null token for an item without a name.
    virtual const CToken& GetNameToken() const;
    virtual bool IsNamed() const = 0;
    virtual bool IsEmpty() const;
    virtual std::size_t GetSize() const = 0;
    virtual void Clear() = 0;
    virtual bool IsNamedValue() const { return false; }
    virtual bool IsValue() const { return false; }
    virtual bool IsBlock() const { return false; }
    virtual bool IsFunc() const { return false; }
    virtual bool IsVec() const { return false; }
    // Of the item's content; with `addSelf` of the object too.
    virtual CMemoryStats GetMemoryStats(bool addSelf) const = 0;

    bool FromText(const AString& text) override;

    static void* operator new(std::size_t size) { return PoolAllocate(size); }
    static void operator delete(void* item, std::size_t size) { PoolFree(item, size); }

protected:
    CBlock_item() = default;
    CBlock_item(const CBlock_item& other) : CStreamio_object(other), mShape(other.mShape) {}
    CBlock_item& operator=(const CBlock_item&) { return *this; }

    // Takes over the content of an item that was read in this one's place; false if it is of another class.
    virtual bool TakeContent(CBlock_item& other) = 0;

private:
    template <class T>
    friend class CBlock_ptr;

    std::uint32_t mRefCount = 0; // pointers that hold the item

protected:
    // What IsBlock and IsFunc say, without a call.
    enum class Shape : std::uint8_t { Leaf, Block, Func };
    Shape mShape = Shape::Leaf;

    friend class CTreeWalk;
};

template <class T>
class CBlock_ptr : public CStreamio_object {
public:
    CBlock_ptr() = default;
    CBlock_ptr(T* target) : m_Target(target) { Take(); }
    CBlock_ptr(const CBlock_ptr& other) : CStreamio_object(other), m_Target(other.m_Target) { Take(); }
    CBlock_ptr(CBlock_ptr&& other) noexcept : m_Target(std::exchange(other.m_Target, nullptr)) {}
    // A checked conversion: null if the target is of another class.
    template <class Other>
    CBlock_ptr(const CBlock_ptr<Other>& other) : m_Target(Cast(other.Get())) {
        Take();
    }
    CBlock_ptr& operator=(CBlock_ptr other) noexcept {
        std::swap(m_Target, other.m_Target);
        return *this;
    }
    ~CBlock_ptr() override {
        if (m_Target && --Count() == 0)
            delete m_Target;
    }

    // Nothing on a null pointer.
    void Read(CAbstract_istream& s) override {
        if (m_Target)
            m_Target->Read(s);
    }
    void Write(CAbstract_ostream& s) const override {
        if (m_Target)
            m_Target->Write(s);
    }
    std::uint32_t GetBinarySize(CAbstract_ostream& s) const override {
        return m_Target ? m_Target->GetBinarySize(s) : 0;
    }

    T* Get() const { return m_Target; }
    T* operator->() const { return m_Target; }
    T& operator*() const { return *m_Target; }
    explicit operator bool() const { return m_Target != nullptr; }
    // Whether no other pointer holds the target.
    bool IsOnly() const { return m_Target && static_cast<const CBlock_item*>(m_Target)->mRefCount == 1; }

private:
    template <class Other>
    static T* Cast(Other* target) {
        if constexpr (std::is_convertible_v<Other*, T*>)
            return target;
        else
            return dynamic_cast<T*>(target);
    }
    std::uint32_t& Count() const { return static_cast<CBlock_item*>(m_Target)->mRefCount; }
    void Take() {
        if (m_Target)
            ++Count();
    }

    T* m_Target = nullptr;
};

// Reads whatever item stands there.
class CBlockItemPtr final : public CBlock_ptr<CBlock_item> {
public:
    using CBlock_ptr<CBlock_item>::CBlock_ptr;
    CBlockItemPtr() = default;
    void Read(CAbstract_istream& s) override;
};

// Whatever may stand as an argument of a function.
class CBlock_func_arg : public CBlock_item {
public:
    // The characters and their terminator, into a buffer that is big enough.
    virtual bool GetWideChars(wchar16* out) const = 0;
    virtual bool GetBool(bool& out) const = 0;
    virtual bool GetString(AString& out) const = 0;
    // Integers are truncated toward zero after the range was tested; `long` has 32 bits.
    virtual bool GetUnsignedLong(unsigned long& out) const = 0;
    virtual bool GetUnsignedInt(unsigned int& out) const = 0;
    virtual bool GetUnsignedShort(unsigned short& out) const = 0;
    virtual bool GetLong(long& out) const = 0;
    virtual bool GetInt(int& out) const = 0;
    virtual bool GetShort(short& out) const = 0;
    virtual bool GetFloat(float& out) const = 0;
    virtual bool GetDouble(double& out) const = 0;
};

// Reads whatever argument stands there.
class CBlockFuncArgPtr final : public CBlock_ptr<CBlock_func_arg> {
public:
    using CBlock_ptr<CBlock_func_arg>::CBlock_ptr;
    CBlockFuncArgPtr() = default;
    void Read(CAbstract_istream& s) override;
};

// The conversions by way of one token, which the class finds; null where there is none.
class CBlock_token_arg : public CBlock_func_arg {
public:
    bool GetWideChars(wchar16* out) const override;
    bool GetBool(bool& out) const override;
    bool GetString(AString& out) const override;
    bool GetUnsignedLong(unsigned long& out) const override;
    bool GetUnsignedInt(unsigned int& out) const override;
    bool GetUnsignedShort(unsigned short& out) const override;
    bool GetLong(long& out) const override;
    bool GetInt(int& out) const override;
    bool GetShort(short& out) const override;
    bool GetFloat(float& out) const override;
    bool GetDouble(double& out) const override;

protected:
    virtual const CToken* GetFirstToken() const = 0;
};

class CBlock_value : public CBlock_token_arg {
public:
    CBlock_value() = default;
    explicit CBlock_value(CToken value) : mValue(std::move(value)) {}

    void Read(CAbstract_istream& s) override;
    void Write(CAbstract_ostream& s) const override;
    std::uint32_t GetBinarySize(CAbstract_ostream& s) const override;
    bool IsNamed() const override { return false; }
    std::size_t GetSize() const override { return mValue.GetType() != TokenType::Null ? 1 : 0; }
    void Clear() override { mValue.Clear(); }
    bool IsValue() const override { return true; }
    CMemoryStats GetMemoryStats(bool addSelf) const override;

    const CToken& GetValue() const { return mValue; }
    void SetValue(CToken value) { mValue = std::move(value); }

    // How a value goes out: integers in the width of their kind, hexadecimal numbers as such.
    static void WriteValue(const CToken& value, CAbstract_ostream& s);

protected:
    bool TakeContent(CBlock_item& other) override;
    const CToken* GetFirstToken() const override { return &mValue; }

    friend class CTreeReader;

    CToken mValue;
};

class CBlock_named_value : public CBlock_value {
public:
    CBlock_named_value() : mName(TokenType::SingleQuotedText) {}
    explicit CBlock_named_value(const AString& name) : mName(TokenType::SingleQuotedText, name) {}
    explicit CBlock_named_value(CToken name) : mName(std::move(name)) {}
    CBlock_named_value(const AString& name, CToken value)
        : CBlock_value(std::move(value)), mName(TokenType::SingleQuotedText, name) {}
    CBlock_named_value(CToken name, CToken value) : CBlock_value(std::move(value)), mName(std::move(name)) {}

    void Read(CAbstract_istream& s) override;
    void Write(CAbstract_ostream& s) const override;
    std::uint32_t GetBinarySize(CAbstract_ostream& s) const override;
    AString& GetName(AString& out) const override;
    void SetName(const AString& name) override;
    const CToken& GetNameToken() const override { return mName; }
    bool IsNamed() const override { return true; }
    bool IsNamedValue() const override { return true; }
    bool IsValue() const override { return false; }
    CMemoryStats GetMemoryStats(bool addSelf) const override;

protected:
    bool TakeContent(CBlock_item& other) override;

    CToken mName;
};

class CBlock_func : public CBlock_func_arg {
public:
    using Args = std::vector<CBlockFuncArgPtr, PoolAllocator<CBlockFuncArgPtr>>;

    CBlock_func() : CBlock_func(CToken(TokenType::SingleQuotedText)) {}
    explicit CBlock_func(const AString& name) : CBlock_func(CToken(TokenType::SingleQuotedText, name)) {}
    explicit CBlock_func(CToken name) : mName(std::move(name)), mArgs() { mShape = Shape::Func; }
    CBlock_func(const CBlock_func& other);
    CBlock_func& operator=(const CBlock_func& other);
    ~CBlock_func() override;

    void Read(CAbstract_istream& s) override;
    void Write(CAbstract_ostream& s) const override;
    std::uint32_t GetBinarySize(CAbstract_ostream& s) const override;
    AString& GetName(AString& out) const override;
    void SetName(const AString& name) override;
    const CToken& GetNameToken() const override { return mName; }
    bool IsNamed() const override { return true; }
    std::size_t GetSize() const override { return mPlainCount > 0 ? mPlainCount : mArgs.size(); }
    void Clear() override;
    bool IsFunc() const override { return true; }
    CMemoryStats GetMemoryStats(bool addSelf) const override;

    // The conversions ask the innermost first argument.
    bool GetWideChars(wchar16* out) const override;
    bool GetBool(bool& out) const override;
    bool GetString(AString& out) const override;
    bool GetUnsignedLong(unsigned long& out) const override;
    bool GetUnsignedInt(unsigned int& out) const override;
    bool GetUnsignedShort(unsigned short& out) const override;
    bool GetLong(long& out) const override;
    bool GetInt(int& out) const override;
    bool GetShort(short& out) const override;
    bool GetFloat(float& out) const override;
    bool GetDouble(double& out) const override;

    // A null pointer is ignored.
    void Add(const CBlockFuncArgPtr& arg) { Add(CBlockFuncArgPtr(arg)); }
    void Add(CBlockFuncArgPtr&& arg);
    // A plain value.
    void AddValue(CToken value);
    void Reserve(std::size_t count) {
        if (count > kMostPlain)
            Items().reserve(count);
    }
    CBlock_func& operator<<(const CBlock_named_value& value);
    CBlock_func& operator<<(const AString& text);
    CBlock_func& operator<<(const wchar16* text);
    CBlock_func& operator<<(double value);
    CBlock_func& operator<<(int value);
    CBlock_func& operator<<(bool value);

    // The next argument, a plain value that converts. Otherwise, and from then on, `IsGood` is false.
    CBlock_func& operator>>(AString& text);
    CBlock_func& operator>>(double& value);
    CBlock_func& operator>>(int& value);
    CBlock_func& operator>>(bool& value);

    // The first argument of that name, without regard to case, searched from the last find on and round.
    // Null, and `IsGood` false, if there is none.
    bool FindNamed(CBlockFuncArgPtr& out, const wchar16* name);
    // Looks the value's name up and copies the value, not the name.
    CBlock_func& GetNamedValue(CBlock_named_value& value);

    bool IsGood() const { return mGood; }
    void SetGood(bool good) { mGood = good; }

    Args::const_iterator begin() const { return Items().begin(); }
    Args::const_iterator end() const { return Items().end(); }
    const CBlockFuncArgPtr& operator[](std::size_t index) const { return Items()[index]; }
    // The values themselves while there are one to three that were added as plain ones and that nobody has asked for as
    // items: then they take no items. Null if not; `GetSize` says how many.
    const CToken* GetPlainValues() const { return mPlainCount > 0 ? mPlain : nullptr; }

protected:
    bool TakeContent(CBlock_item& other) override;

private:
    friend class CTreeReader;
    friend class CTreeTeardown;

    static constexpr std::size_t kMostPlain = 3; // a complex number's, or an impedance's with its kind

    Args& Items() const {
        if (mPlainCount > 0)
            MakeItems();
        return mArgs;
    }
    void MakeItems() const;
    void ReleasePlain() const;
    const CBlock_func_arg* GetInnermostFirst() const;
    const CBlock_func_arg* NextPlain();
    void Step(bool good);

    CToken mName;
    // The arguments: the first so many of the plain values, or with none of them the items.
    union {
        mutable Args mArgs;
        mutable CToken mPlain[kMostPlain];
    };
    std::uint32_t mCursor = 0;
    mutable std::uint8_t mPlainCount = 0;
    bool mGood = true;
};

// A function that holds a date and time: the arguments "year" to "sec", in local time.
class CBlock_time_func : public CBlock_func {
public:
    explicit CBlock_time_func(const AString& name) : CBlock_func(name) {}
    CBlock_time_func(const AString& name, std::time_t when);

    std::time_t GetTime();
};

class CBlock_vec : public CBlock_token_arg {
public:
    CBlock_vec() : mName(TokenType::SingleQuotedText) {}
    explicit CBlock_vec(const AString& name) : mName(TokenType::SingleQuotedText, name) {}
    explicit CBlock_vec(CToken name) : mName(std::move(name)) {}

    void Read(CAbstract_istream& s) override;
    void Write(CAbstract_ostream& s) const override;
    std::uint32_t GetBinarySize(CAbstract_ostream& s) const override;
    AString& GetName(AString& out) const override;
    void SetName(const AString& name) override;
    const CToken& GetNameToken() const override { return mName; }
    bool IsNamed() const override { return true; }
    std::size_t GetSize() const override { return mElements.size(); }
    void Clear() override;
    bool IsVec() const override { return true; }
    CMemoryStats GetMemoryStats(bool addSelf) const override;

    void Add(CToken element);
    void Reserve(std::size_t count) { mElements.reserve(count); }
    CToken& operator[](std::size_t index) { return mElements[index]; }
    const CToken& operator[](std::size_t index) const { return mElements[index]; }
    CTokenArray::const_iterator begin() const { return mElements.begin(); }
    CTokenArray::const_iterator end() const { return mElements.end(); }
    CTokenArray& GetElements() { return mElements; }

protected:
    bool TakeContent(CBlock_item& other) override;
    const CToken* GetFirstToken() const override { return mElements.empty() ? nullptr : mElements.data(); }

private:
    friend class CTreeReader;

    CToken mName;
    CTokenArray mElements;
};

} // namespace io
