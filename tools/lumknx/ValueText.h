#pragma once
// How lumknx turns the bytes of one telegram into text for people and for
// machines, and text back into bytes. Both directions go through the
// library; this unit only chooses how values are written down.
#include <Lum/KnxValueConverter.h>
#include <Platform/KnxStack.h>

#include <boost/optional.hpp>

#include <string>
#include <unordered_map>
#include <vector>

namespace LumKnx
{

class LibraryMessages;

struct ValueText
{
    bool decoded = false; // the library's converter accepted the bytes
    std::string human;    // for people: "21.5 °C", "increase, step 3", "learn scene 2"
    std::string exact;    // for machines and for feeding back to `encode`: the exact value
    std::string type;     // the value's type as the library names it ("Float", "Byte", ...)
    std::string reason;   // the library's message when !decoded
    std::string warning;  // e.g. a text that may have been cut; empty when none
};

// Decodes `bytes` (as they travel after the APCI; a value of up to 6 bits may
// come as one byte) for `dpt` through the library.
ValueText DecodeForDisplay(const Lum::KnxValueConverter& converter, const KNXDPT& dpt,
                           const std::vector<unsigned char>& bytes);
// The same, collecting the library's reason through an existing recorder
// (cheaper when many telegrams are decoded).
ValueText DecodeForDisplay(const Lum::KnxValueConverter& converter, const KNXDPT& dpt,
                           const std::vector<unsigned char>& bytes, LibraryMessages& messages);

// Decodes telegram after telegram through one converter. What a converter
// writes is found by a type test; the answer is kept per converter, of which
// the converter's map holds a fixed number (the tests took 8% of trace's
// instructions when repeated for every telegram).
class ValueDecoder final
{
public:
    // Both outlive the decoder.
    ValueDecoder(const Lum::KnxValueConverter& converter, LibraryMessages& messages);

    // As DecodeForDisplay(); every field of `result` is replaced, its storage reused.
    void Decode(const KNXDPT& dpt, const std::vector<unsigned char>& bytes, ValueText& result);

private:
    OruValueType WrittenType(const Lum::KnxConverter& converter, OruValueType entryType);

    const Lum::KnxValueConverter& m_converter;
    LibraryMessages& m_messages;
    std::unordered_map<const Lum::KnxConverter*, bool> m_writesByte;
};

struct Encoded
{
    boost::optional<KnxStack::GroupValue> group; // none when the library refused the value
    std::string reason;                          // the library's message then
    std::string warning;                         // e.g. a text cut to 14 characters
};

// Encodes `text` (a form `exact` takes, see kValueForms) for `dpt` through
// the library. Throws UsageError when the text is no value of the DPT.
Encoded EncodeFromText(const Lum::KnxValueConverter& converter, const KNXDPT& dpt, const std::string& text);

// The text forms `encode` takes, for --help.
extern const char* const kValueForms;

} // namespace LumKnx
