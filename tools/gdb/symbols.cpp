// The types behind a set of patterns. Compiled with debug symbols, of which the library may have none.

#include <Tavik/ObjectPath/Patterns/PatternTree.h>

[[maybe_unused]] static const Tavik::Impl::PatternTree tree;
