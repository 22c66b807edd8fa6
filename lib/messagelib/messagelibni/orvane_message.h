// The message object: which message of which library is meant, with which arguments, how grave it is and what element of the
// design it concerns. It crosses process borders in its block text form (ToText, FromText), and BuildMessage makes its final
// words from the format that a message library holds.
//
// After a trip through the text form every argument but a boolean is a string. One thread at a time.
#pragma once

#include <messagelibni/argument_manager.h>

#include <mvcore/message_lib.h>
#include <streamio/block.h>
#include <streamio/streamio_object.h>

#include <cstdint>

// Messages of library 0 that the system itself uses.
inline constexpr std::int32_t kPlainTextMessage = 24464; // string argument 0 is the text
inline constexpr std::int32_t kTrueMessage = 24465;
inline constexpr std::int32_t kFalseMessage = 24466;
inline constexpr std::int32_t kFailedCallMessage = 24536; // string argument 0 is the error's text

class OrvaneMessageBase : public io::CStreamio_block_object, public virtual ArgumentManager {
public:
    OrvaneMessageBase(std::int32_t severity, std::int32_t libId, std::int32_t messageId, std::int32_t helpId)
        : m_Severity(severity), m_LibId(libId), m_MessageId(messageId), m_HelpId(helpId) {}

    AString GetBlockName() const override { return AString(u"message"); }
    std::int32_t TransferBlock(io::CBlock& block, bool read) override;

    // Into the first item of the block, which must be a function. False if it isn't.
    virtual bool WriteMessage(io::CBlock& block);
    // 0, or 1 if the block's first item is no function. What is absent counts as 0 or empty.
    virtual std::int32_t ReadMessage(io::CBlock& block);

    std::int32_t m_Severity;
    std::int32_t m_LibId;
    std::int32_t m_MessageId;
    std::int32_t m_HelpId;
    AString m_Message; // the built text; empty until built
};

class OrvaneMessage : public OrvaneMessageBase {
public:
    OrvaneMessage(std::int32_t severity, std::int32_t libId, std::int32_t messageId, std::int32_t helpId,
                  std::int32_t elementType, const AString& elementId, const AString& propertyName)
        : OrvaneMessageBase(severity, libId, messageId, helpId), m_ElementType(elementType),
          m_ElementId(elementId), m_PropertyName(propertyName) {}

    bool WriteMessage(io::CBlock& block) override;
    std::int32_t ReadMessage(io::CBlock& block) override;

    // Puts the words into m_Message and takes the arguments away. False, with the reason in `error` and m_Message, without a
    // library or a format, or with a format that can't be expanded.
    virtual bool BuildMessage(AString& error, MessageLib* library);

    std::int32_t m_ElementType;
    AString m_ElementId;
    AString m_PropertyName;

private:
    bool Expand(const AString& format, AString& result) const;
};
