// Paths as keys in containers of Boost.

#include <gtest/gtest.h>
#include <boost/functional/hash.hpp>

#include <Tavik/ObjectPath/ObjectPath.h>

namespace {

TEST(BoostHash, IsThatOfTheStandardLibrary) {
    for (const char* const text : {"/", "/a", "/a/b", "/a[k=v]", "/a[k=w]"}) {
        const auto path = Tavik::parseObjectPath(text);
        EXPECT_EQ(boost::hash<Tavik::ObjectPath>()(path), std::hash<Tavik::ObjectPath>()(path)) << text;
    }
}

}  // namespace
