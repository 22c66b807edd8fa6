// Stream buffers over text in memory, whose inside the token buffers use directly.
#pragma once

#include "plain_text.h"

#include <streamio/pool_allocator.h>
#include <stringutils/astring.h>

#include <algorithm>
#include <functional>
#include <streambuf>
#include <string_view>
#include <utility>

namespace io {

using CCharBuf = std::basic_streambuf<wchar16>;

// Reads from characters that stay where they are.
class CMemoryInBuf final : public CCharBuf {
public:
    explicit CMemoryInBuf(std::u16string_view text) { Reset(text); }

    void Reset(std::u16string_view text) {
        // The get area is never written through: no character is ever put back that differs.
        auto* begin = const_cast<wchar16*>(text.data());
        setg(begin, begin, begin + text.size());
    }
    const wchar16* Cur() const { return gptr(); }
    const wchar16* End() const { return egptr(); }
    void SetCur(const wchar16* cur) { setg(eback(), eback() + (cur - eback()), egptr()); }
    std::int64_t Offset(const wchar16* place) const { return place - eback(); }

protected:
    pos_type seekoff(off_type offset, std::ios_base::seekdir from, std::ios_base::openmode) override {
        const off_type base =
            from == std::ios_base::beg ? 0 : (from == std::ios_base::cur ? gptr() : egptr()) - eback();
        return seekpos(base + offset, std::ios_base::in);
    }
    pos_type seekpos(pos_type position, std::ios_base::openmode) override {
        const off_type offset = position;
        if (offset < 0 || offset > egptr() - eback())
            return off_type(-1);
        setg(eback(), eback() + offset, egptr());
        return position;
    }
};

// Collects what is written in an AString; writes over what is there after a seek.
class CMemoryOutBuf final : public CCharBuf {
public:
    static constexpr std::size_t kStage = 4096;

    explicit CMemoryOutBuf(std::size_t reserved) {
        if (reserved > 0)
            Grow(reserved);
        setp(m_Stage, m_Stage + kStage);
    }
    // Asks how long the text becomes when the stage is full: a short text needs no measuring.
    explicit CMemoryOutBuf(std::function<std::size_t()> measure) : CMemoryOutBuf(std::size_t{0}) {
        m_Measure = std::move(measure);
    }

    static void* operator new(std::size_t size) { return PoolAllocate(size); }
    static void operator delete(void* buffer, std::size_t size) { PoolFree(buffer, size); }

    // Room for `count` units, at most kStage.
    wchar16* Room(std::size_t count) {
        if (static_cast<std::size_t>(epptr() - pptr()) < count)
            Flush();
        return pptr();
    }
    // The units from Room on up to `end` are written.
    void Commit(const wchar16* end) { pbump(static_cast<int>(end - pptr())); }
    void Append(const wchar16* units, std::size_t count) {
        if (static_cast<std::size_t>(epptr() - pptr()) < count) {
            Flush();
            if (count > kStage) {
                Store(units, count);
                return;
            }
        }
        CopyUnits({units, count}, pptr());
        pbump(static_cast<int>(count));
    }
    void Put(wchar16 unit) {
        *Room(1) = unit;
        pbump(1);
    }

    // How long the text is, wherever the place of writing is.
    std::size_t Length() const {
        return std::max(m_Text.size(), m_Base + static_cast<std::size_t>(pptr() - pbase()));
    }
    void GetText(AString& out) {
        m_Measure = nullptr;
        Flush();
        out.assign(m_Text);
    }
    // The text itself; the buffer is empty then.
    AString TakeText() {
        m_Measure = nullptr; // all is here
        Flush();
        m_Base = 0;
        return std::move(m_Text);
    }

protected:
    int_type overflow(int_type unit) override {
        Flush();
        if (!traits_type::eq_int_type(unit, traits_type::eof()))
            Put(traits_type::to_char_type(unit));
        return traits_type::not_eof(unit);
    }
    std::streamsize xsputn(const wchar16* units, std::streamsize count) override {
        Append(units, static_cast<std::size_t>(count));
        return count;
    }
    int sync() override {
        Flush();
        return 0;
    }
    pos_type seekoff(off_type offset, std::ios_base::seekdir from, std::ios_base::openmode) override {
        const auto here = static_cast<off_type>(m_Base + static_cast<std::size_t>(pptr() - pbase()));
        if (from == std::ios_base::cur && offset == 0)
            return here;
        const off_type base = from == std::ios_base::beg   ? 0
                              : from == std::ios_base::cur ? here
                                                           : static_cast<off_type>(Length());
        return seekpos(base + offset, std::ios_base::out);
    }
    pos_type seekpos(pos_type position, std::ios_base::openmode) override {
        const off_type offset = position;
        if (offset < 0 || static_cast<std::size_t>(offset) > Length())
            return off_type(-1);
        Flush();
        m_Base = static_cast<std::size_t>(offset);
        return position;
    }

private:
    // A long text takes large pages: small ones cost more than what is written on them.
    void Grow(std::size_t size) {
        AString grown;
        grown.reserve(size);
        PreferLargePages(grown.data(), grown.capacity() * sizeof(wchar16));
        grown.append(m_Text);
        m_Text.swap(grown);
    }
    void Store(const wchar16* units, std::size_t count) {
        if (m_Base + count > m_Text.capacity()) {
            const auto measure = std::exchange(m_Measure, nullptr);
            Grow(std::max({m_Base + count, 2 * m_Text.capacity(), measure ? measure() : 0}));
        }
        if (m_Base == m_Text.size())
            m_Text.append(units, count);
        else
            m_Text.replace(m_Base, std::min(count, m_Text.size() - m_Base), units, count);
        m_Base += count;
    }
    void Flush() {
        Store(pbase(), static_cast<std::size_t>(pptr() - pbase()));
        setp(m_Stage, m_Stage + kStage);
    }

    AString m_Text;
    std::size_t m_Base = 0; // where the staged units belong
    std::function<std::size_t()> m_Measure;
    wchar16 m_Stage[kStage];
};

} // namespace io
