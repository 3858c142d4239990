#include "Audio/CAudioVizData.h"

#include "Core/CMemoryReader.h"
#include "Core/CWriteSeqBuffer.h"

namespace lum {
namespace {

template <class T>
CErrorResult saveArray(COutputStream& stream, const CVector<T>& values) {
    LUM_TRY(stream.writeValue(static_cast<uint32_t>(values.size())));
    for (const T& value : values) LUM_TRY(stream.writeValue(value));
    return nullptr;
}

/// Reads a count and that many values, and refuses a count that the stream cannot hold.
template <class T>
CErrorResult loadArray(CInputStream& stream, CVector<T>& out) {
    uint32_t count = 0;
    LUM_TRY(stream.readValue(count));
    const int64_t left = stream.bytesLeft();
    if (left < 0 || count > static_cast<uint64_t>(left) / sizeof(T))
        return LUM_FAIL("@lumstr_CAudioVizData_loadArray Premature end of visual data (count %1).",
                        count);
    out.clear();
    out.resize(count);
    for (T& value : out) LUM_TRY(stream.readValue(value));
    return nullptr;
}

} // namespace

CAudioVizData* CAudioVizData::create(int32_t recordType) {
    switch (static_cast<VizRecordType>(recordType)) {
    case VizRecordType::Meter:
        return new CAudioVizDataMeter;
    case VizRecordType::Info:
        return new CAudioVizDataInfo;
    case VizRecordType::Spectrum:
        return new CAudioVizDataSpectrum;
    case VizRecordType::VScope:
        return new CAudioVizDataVScope;
    }
    return nullptr;
}

CErrorResult CAudioVizData::save(COutputStream& stream) const {
    LUM_TRY(stream.writeValue(selector2));
    LUM_TRY(stream.writeValue(selector1));
    LUM_TRY(stream.writeValue(reserved));
    LUM_TRY(stream.writeValue(time));
    LUM_TRY(stream.writeValue(subKind));
    return nullptr;
}

CErrorResult CAudioVizData::load(CInputStream& stream) {
    LUM_TRY(stream.readValue(selector2));
    LUM_TRY(stream.readValue(selector1));
    LUM_TRY(stream.readValue(reserved));
    LUM_TRY(stream.readValue(time));
    LUM_TRY(stream.readValue(subKind));
    return nullptr;
}

CErrorResult CAudioVizDataMeter::save(COutputStream& stream) const {
    LUM_TRY(CAudioVizData::save(stream));
    for (const double value : values) LUM_TRY(stream.writeValue(value));
    return nullptr;
}

CErrorResult CAudioVizDataMeter::load(CInputStream& stream) {
    LUM_TRY(CAudioVizData::load(stream));
    for (double& value : values) LUM_TRY(stream.readValue(value));
    return nullptr;
}

CErrorResult CAudioVizDataInfo::save(COutputStream& stream) const {
    LUM_TRY(CAudioVizData::save(stream));
    LUM_TRY(stream.writeString(text));
    LUM_TRY(stream.writeValue(flags));
    return nullptr;
}

CErrorResult CAudioVizDataInfo::load(CInputStream& stream) {
    LUM_TRY(CAudioVizData::load(stream));
    LUM_TRY(stream.readString(text));
    LUM_TRY(stream.readValue(flags));
    return nullptr;
}

CErrorResult CAudioVizDataSpectrum::save(COutputStream& stream) const {
    LUM_TRY(CAudioVizData::save(stream));
    LUM_TRY(saveArray(stream, values));
    LUM_TRY(stream.writeValue(first));
    LUM_TRY(stream.writeValue(second));
    LUM_TRY(stream.writeValue(third));
    LUM_TRY(stream.writeValue(fourth));
    LUM_TRY(stream.writeValue(fifth));
    return nullptr;
}

CErrorResult CAudioVizDataSpectrum::load(CInputStream& stream) {
    LUM_TRY(CAudioVizData::load(stream));
    LUM_TRY(loadArray(stream, values));
    LUM_TRY(stream.readValue(first));
    LUM_TRY(stream.readValue(second));
    LUM_TRY(stream.readValue(third));
    LUM_TRY(stream.readValue(fourth));
    LUM_TRY(stream.readValue(fifth));
    return nullptr;
}

CErrorResult CAudioVizDataVScope::save(COutputStream& stream) const {
    LUM_TRY(CAudioVizData::save(stream));
    LUM_TRY(saveArray(stream, words));
    LUM_TRY(saveArray(stream, lineLengths));
    return nullptr;
}

CErrorResult CAudioVizDataVScope::load(CInputStream& stream) {
    LUM_TRY(CAudioVizData::load(stream));
    LUM_TRY(loadArray(stream, words));
    LUM_TRY(loadArray(stream, lineLengths));
    lineStarts.clear();
    uint32_t start = 0;
    for (const uint32_t length : lineLengths) {
        lineStarts.push_back(start);
        start += length * length;
    }
    return nullptr;
}

CErrorResult saveVizRecord(COutputStream& stream, const CAudioVizData& record) {
    CWriteSeqBuffer bytes;
    LUM_TRY(record.save(bytes));
    LUM_TRY(stream.writeValue(static_cast<uint32_t>(record.type)));
    LUM_TRY(stream.writeValue(static_cast<uint32_t>(bytes.getSize())));
    LUM_TRY(bytes.writeTo(stream));
    return nullptr;
}

CErrorResult loadVizRecord(CInputStream& stream, CVizDataRef& out) {
    uint32_t type = 0;
    uint32_t size = 0;
    LUM_TRY(stream.readValue(type));
    LUM_TRY(stream.readValue(size));
    if (stream.bytesLeft() < static_cast<int64_t>(size))
        return LUM_FAIL(
            "@lumstr_CAudioVizData_loadVizRecord Premature end of visual data (size %1).", size);
    out = CVizDataRef(CAudioVizData::create(static_cast<int32_t>(type)));
    if (!out.get()) {
        LUM_TRY(stream.skip(size));
        return nullptr;
    }
    CByteBuffer bytes;
    bytes.resize(size);
    LUM_TRY(stream.read(bytes.data(), size));
    CMemoryReader reader(bytes);
    LUM_TRY(out->load(reader));
    return nullptr;
}

} // namespace lum
