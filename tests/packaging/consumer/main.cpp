// A program that uses the library, including the data that it exports.

#include <iostream>

#include <Tavik/ObjectPath/ObjectPath.h>

int main() {
    using Nodes = Tavik::Impl::Dedup<Tavik::Impl::Segment>;
    const Tavik::ObjectPath port = Tavik::parseObjectPath("/dev[bus=pci]/port");
    std::cout << port << '\n';
    const std::lock_guard lock(Nodes::mutex_);
    return &Nodes::table_ == &Tavik::Impl::inspectSegmentTable() && Nodes::table_.size() == 2 ? 0 : 1;
}
