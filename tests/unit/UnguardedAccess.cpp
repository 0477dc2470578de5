// Must not compile with clang: each line accesses without its lock what the lock guards.

#include <Tavik/ObjectPath/Nodes/FoundNodes.h>
#include <Tavik/ObjectPath/Nodes/NodeTable.h>

namespace Tavik::Impl {

void accessUnguarded(FoundNodesBucket<FoundNodesParts<Segment>>& bucket) {
    NodeTable<Segment>::repairAfterFork();
    bucket.tags = {};
}

}  // namespace Tavik::Impl
