#include "AllocationCount.h"
#include "BenchModel.h"
#include "GridPyramid.h"
#include "RatioTimer.h"

#include <osg/Polytope>

#include <benchmark/benchmark.h>

namespace
{

using namespace mvgeo::bench;

/** The yardstick: OSG's traversal of the same nodes with nothing but the frustum test. */
class BareTraversal : public osg::NodeVisitor
{
public:
    explicit BareTraversal(const osg::Polytope& frustum) : osg::NodeVisitor(TRAVERSE_ALL_CHILDREN), _frustum(frustum) {}
    using osg::NodeVisitor::apply;
    void apply(osg::Node& node) override
    {
        if (!_frustum.contains(node.getBound())) return;
        ++visited;
        traverse(node);
    }

    std::size_t visited = 0;

private:
    osg::Polytope _frustum;
};

osg::Polytope frustumOf(const Camera& camera)
{
    osg::Polytope frustum;
    frustum.setToUnitFrustum(true, true);
    frustum.transformProvidingInverse(viewMatrix(camera) * projectionMatrix());
    return frustum;
}

// What does a whole update of a converged view cost, beside walking the same nodes with nothing but the frustum test?
// `side` squared tiles of three nodes each, all in view; the target is a ratio of 1.5 and 1 ms for 10,000 nodes.
void BM_ConvergedUpdate_OverBareTraversal(benchmark::State& state)
{
    const int side = static_cast<int>(state.range(0));
    const double extent = 10.0 * side;
    BenchModel bench({writeGrid(side)});
    const Camera camera{{extent / 2, extent / 2, 1.4 * extent}, {extent / 2, extent / 2 + 1, 0}};
    bench.converge(camera);

    BareTraversal bare(frustumOf(camera));
    const osg::ref_ptr<osg::FrameStamp> stamp = new osg::FrameStamp;
    bare.setFrameStamp(stamp);

    RatioTimer timer;
    std::uint64_t allocations = 0;
    for (auto _ : state)
    {
        bare.visited = 0;
        const std::uint64_t before = allocationCount();
        timer.pair(
            state,
            [&]
            {
                bench.update(camera);
                allocations = allocationCount() - before;
            },
            [&] { bench.model.root().accept(bare); });
    }
    timer.report(state);
    state.counters["nodes"] = static_cast<double>(bare.visited);
    state.counters["ns_per_node"] = timer.oursSeconds() * 1e9 / static_cast<double>(bare.visited);
    state.counters["allocations"] = static_cast<double>(allocations);
}
BENCHMARK(BM_ConvergedUpdate_OverBareTraversal)->Arg(18)->Arg(58)->Arg(100)->UseManualTime()->MinTime(1.0);

} // namespace
