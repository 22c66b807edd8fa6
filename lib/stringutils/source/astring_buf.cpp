#include <stringutils/astring_buf.h>

template <class Char>
void AStringBufT<Char>::Terminate(int pos) {
    TARVOK_ASSERT(m_pBuf != 0 && pos >= 0 && pos < m_pBuf->m_Capacity);
    if (!m_pBuf || pos < 0 || pos >= m_pBuf->m_Capacity)
        return;
    m_pBuf->Storage()[pos] = 0;
    m_pBuf->m_Length = pos;
}

template class AStringBufT<char>;
template class AStringBufT<char16_t>;
