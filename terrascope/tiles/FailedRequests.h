#pragma once

#include <cstdint>
#include <list>
#include <map>

#include "terrascope/tiles/TileLoadRequest.h"

namespace Terrascope {

/// Where a tile is, for the order of its request.
struct TileRank {
    bool visible = false;
    double distance = 0.0;  ///< from the view's middle, any unit
};
using TileRanks = std::map<CString, TileRank>;

/// Requests that brought no tile, and when each is to be made again. Those of tiles that are out of
/// the view stay until the tiles come into it.
///
/// Units:   milliseconds of any clock. Threads: one at a time.
class CFailedRequests {
public:
    /// For no request.
    static constexpr std::uint64_t kNever = UINT64_MAX;

    /// Keeps a request that failed now, unless it has failed too often: after the delays of
    /// `delays`, one for each failure.
    template <class TDelays>
    void Add(const tagTILE_LOAD_REQUEST& request, std::uint64_t now, const TDelays& delays) {
        if (request.failures < delays.size()) {
            m_requests.push_back({request, now + delays[request.failures]});
            ++m_requests.back().request.failures;
        }
    }

    /// Drops what has no rank any more, and notes which tiles are in view.
    void Arrange(const TileRanks& ranks);
    void Remove(const CString& key);
    void Clear() { m_requests.clear(); }

    /// The next one that is in view and due, taken out; an empty request when there is none.
    tagTILE_LOAD_REQUEST Take(std::uint64_t now);

    /// When the next one that is in view is due.
    std::uint64_t NextDue() const;

private:
    struct Entry {
        tagTILE_LOAD_REQUEST request;
        std::uint64_t due = 0;
    };
    std::list<Entry> m_requests;
};

}  // namespace Terrascope
