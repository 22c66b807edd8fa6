// Keeps the BLAS on the calling thread for as long as one of these exists: at the sizes of networks its
// threads cost more than they give.
#pragma once

#include "lapack.h"

class OneBlasThread {
public:
    explicit OneBlasThread(const Lapack& lapack);
    ~OneBlasThread();
    OneBlasThread(const OneBlasThread&) = delete;
    OneBlasThread& operator=(const OneBlasThread&) = delete;

private:
    const Lapack& m_Lapack;
};
