// The records as the texts in which they cross the border between client and engine. Any thread, one record at a time.
#pragma once

#include <platform/bstr.h>
#include <trancosimlib/cosimportdata.h>
#include <trancosimlib/cosimsrcdata.h>

// The binary form, made in storage of its full size. Null when memory is short or the text longer than a BSTR can be.
platform::UniqueBstr MakeCosimText(const COSIMSRCDATA& block);
platform::UniqueBstr MakeCosimText(const COSIMPORTDATA& block);

// As FromText, of either form, without a copy of the text. False for a text that holds no such block.
bool ReadCosimText(BSTR text, COSIMSRCDATA& block);
bool ReadCosimText(BSTR text, COSIMPORTDATA& block);
