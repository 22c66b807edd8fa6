// A shared block of characters: what the conversions hand out, so that a caller can hold the text without
// copying it.
//
// A handle and its copies share one block and stay on one thread at a time. A null handle is the empty text.
#pragma once

#include <utility/refptr.h>

#include <memory>
#include <string_view>

// `Char` is char for narrow text and char16_t for wide text; both kinds are instantiated below.
template <class Char>
class AStringBufT {
public:
    class Block : public mrefcount {
    public:
        explicit Block(int capacity)
            : m_Capacity(capacity),
              m_Storage(capacity > 0 ? new Char[static_cast<std::size_t>(capacity)] : nullptr) {}

        int m_Length = 0;
        const int m_Capacity;

        Char* Storage() const { return m_Storage.get(); }

    private:
        std::unique_ptr<Char[]> m_Storage;
    };

    AStringBufT() = default;

    // Leaves a block of at least `n` characters behind the handle and gives its capacity. A block that is too
    // small is replaced by one of exactly `n` characters with unset content; with `n` below 1 a new block has
    // no storage.
    int Reserve(int n) {
        if (!m_pBuf || n > m_pBuf->m_Capacity)
            m_pBuf = refptr<Block>(new Block(n > 0 ? n : 0));
        return m_pBuf->m_Capacity;
    }

    // The characters; with a null handle or a block without storage an empty text, never null.
    const Char* CStr() const {
        static constexpr Char kEmpty[1] = {};
        return m_pBuf && m_pBuf->Storage() ? m_pBuf->Storage() : kEmpty;
    }
    operator const Char*() const { return CStr(); }

    // To be filled by the caller; null without storage.
    Char* Data() const { return m_pBuf ? m_pBuf->Storage() : nullptr; }

    // In characters, without the terminator.
    int GetLength() const { return m_pBuf ? m_pBuf->m_Length : 0; }
    int GetCapacity() const { return m_pBuf ? m_pBuf->m_Capacity : 0; }
    std::basic_string_view<Char> View() const { return {CStr(), static_cast<std::size_t>(GetLength())}; }
    bool IsNull() const { return !m_pBuf; }

    // Writes a terminator at `pos` and makes it the text's length; the block must reach beyond `pos`.
    void Terminate(int pos);

private:
    refptr<Block> m_pBuf;
};

extern template class AStringBufT<char>;
extern template class AStringBufT<char16_t>;

using AStringBuf = AStringBufT<char>;
using AWideStringBuf = AStringBufT<char16_t>;
