#pragma once

#include <list>
#include <utility>

namespace Terrascope {

/// The records of a provider's answer, some of which may be null.
///
/// Owns: the records; they are deleted with it.
template <class TRecord>
class RecordList {
public:
    explicit RecordList(std::list<TRecord*> records) : m_records(std::move(records)) {}
    ~RecordList() {
        for (const TRecord* record : m_records) {
            delete record;
        }
    }
    RecordList(const RecordList&) = delete;
    RecordList& operator=(const RecordList&) = delete;

    auto begin() const { return m_records.begin(); }
    auto end() const { return m_records.end(); }
    std::size_t size() const { return m_records.size(); }

private:
    const std::list<TRecord*> m_records;
};

}  // namespace Terrascope
