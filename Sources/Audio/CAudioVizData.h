#pragma once

#include "Core/CStream.h"

#include <atomic>

namespace lum {

enum class VizRecordType : int32_t { Meter = 0, Info = 1, Spectrum = 3, VScope = 4 };

constexpr uint32_t kAnyVizSelector = 0xffffffffu; // of selector2

/// A visual record: what a display shows at a moment. Shared by reference; made by a process,
/// carried by the collector, never changed once it is posted.
class CAudioVizData : public CCheckedObject, public CLumMemAllocator {
public:
    explicit CAudioVizData(VizRecordType recordType) : type(recordType) {}
    /// An empty record of a type; null for a type that is not known.
    static CAudioVizData* create(int32_t recordType);

    virtual CErrorResult save(COutputStream& stream) const;
    virtual CErrorResult load(CInputStream& stream);
    void addReference() noexcept { references.fetch_add(1, std::memory_order_relaxed); }
    void release() noexcept {
        if (references.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
    }

    const VizRecordType type; // not part of the record's bytes
    uint32_t selector2 = kAnyVizSelector;
    uint32_t selector1 = 0;
    uint32_t reserved = 0;
    double time = 0.0; // seconds on the environment's clock
    int32_t subKind = 0;

private:
    std::atomic<int32_t> references{1};
};

/// A reference to a record.
class CVizDataRef {
public:
    CVizDataRef() noexcept = default;
    explicit CVizDataRef(CAudioVizData* owned) noexcept : record(owned) {} // takes over one
    CVizDataRef(const CVizDataRef& other) noexcept : record(other.record) {
        if (record) record->addReference();
    }
    CVizDataRef(CVizDataRef&& other) noexcept : record(std::exchange(other.record, nullptr)) {}
    CVizDataRef& operator=(CVizDataRef other) noexcept {
        std::swap(record, other.record);
        return *this;
    }
    ~CVizDataRef() {
        if (record) record->release();
    }
    CAudioVizData* get() const noexcept { return record; }
    CAudioVizData* operator->() const noexcept { return record; }

private:
    CAudioVizData* record = nullptr;
};

class CAudioVizDataMeter : public CAudioVizData {
public:
    CAudioVizDataMeter() : CAudioVizData(VizRecordType::Meter) {}
    CErrorResult save(COutputStream& stream) const override;
    CErrorResult load(CInputStream& stream) override;
    double values[2] = {};
};

class CAudioVizDataInfo : public CAudioVizData {
public:
    CAudioVizDataInfo() : CAudioVizData(VizRecordType::Info) {}
    CErrorResult save(COutputStream& stream) const override;
    CErrorResult load(CInputStream& stream) override;
    CString text;
    uint32_t flags = 0;
};

class CAudioVizDataSpectrum : public CAudioVizData {
public:
    CAudioVizDataSpectrum() : CAudioVizData(VizRecordType::Spectrum) {}
    CErrorResult save(COutputStream& stream) const override;
    CErrorResult load(CInputStream& stream) override;
    CVector<double> values;
    double first = 0.0; // the five fields behind the values, in their order
    uint32_t second = 0;
    uint32_t third = 0;
    double fourth = 0.0;
    uint32_t fifth = 0;
};

class CAudioVizDataVScope : public CAudioVizData {
public:
    CAudioVizDataVScope() : CAudioVizData(VizRecordType::VScope) {}
    CErrorResult save(COutputStream& stream) const override;
    CErrorResult load(CInputStream& stream) override;
    CVector<uint32_t> words;
    CVector<uint32_t> lineLengths;
    CVector<uint32_t> lineStarts; // of each line in `words`: the squares of the lengths before it
};

/// Writes a record as it stands in a source block: type, byte length, bytes.
CErrorResult saveVizRecord(COutputStream& stream, const CAudioVizData& record);
/// Reads one; `out` stays empty for an unknown type, whose bytes are skipped.
CErrorResult loadVizRecord(CInputStream& stream, CVizDataRef& out);

} // namespace lum
