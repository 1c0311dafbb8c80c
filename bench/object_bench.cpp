// The object system beside what programs use without it. One more thread is alive all the time, so that
// nobody counts references as a process of one thread does.
//
//   BM_FacePtrCopy/one/<ours|shared_ptr>        a copy and its end
//   BM_WeakLock/one/<ours|weak_ptr>             a reference from a weak one, and its end
//   BM_MadeWithWeak/one/<ours|make_shared>      an object made, given one weak reference, and dropped
//   BM_CastToLast/of_six/<ours|dynamic>         from the first of six interfaces to the last; ours adds a
//                                               reference, which is dropped again
//   BM_CreateObject/of_1000/<ours|gobject>      by the name of one class of 1,000, in turn; with its end
//   BM_TwoThreads/<same_class|other_class>/<ours|malloc>
//                                               not a time: how much more two threads get done than one, as
//                                               the counter "ratio"; malloc is malloc and free of as many
//                                               bytes
#include "require.h"
#include <tessel/object/class_factory.h>
#include <tessel/tessel.h>

#include <benchmark/benchmark.h>
#include <glib-object.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

// ---- One interface, and six

struct Counter : Face<> {
    static constexpr Iid iid = u"IID_Bench::Counter"_iid;
    virtual int Next() = 0;
};

class CounterImpl : public Face<Counter> {
public:
    int Next() override { return ++value; }

private:
    int value = 0;
};

template <int number>
struct Side;
template <>
struct Side<1> : Face<> {
    static constexpr Iid iid = u"IID_Bench::Side1"_iid;
    virtual int Get1() = 0;
};
template <>
struct Side<2> : Face<> {
    static constexpr Iid iid = u"IID_Bench::Side2"_iid;
    virtual int Get2() = 0;
};
template <>
struct Side<3> : Face<> {
    static constexpr Iid iid = u"IID_Bench::Side3"_iid;
    virtual int Get3() = 0;
};
template <>
struct Side<4> : Face<> {
    static constexpr Iid iid = u"IID_Bench::Side4"_iid;
    virtual int Get4() = 0;
};
template <>
struct Side<5> : Face<> {
    static constexpr Iid iid = u"IID_Bench::Side5"_iid;
    virtual int Get5() = 0;
};
template <>
struct Side<6> : Face<> {
    static constexpr Iid iid = u"IID_Bench::Side6"_iid;
    virtual int Get6() = 0;
};

class SixImpl : public Face<Side<1>, Side<2>, Side<3>, Side<4>, Side<5>, Side<6>> {
public:
    int Get1() override { return 1; }
    int Get2() override { return 2; }
    int Get3() override { return 3; }
    int Get4() override { return 4; }
    int Get5() override { return 5; }
    int Get6() override { return 6; }
};

// The same for the peers.
struct PlainCounter {
    virtual ~PlainCounter() = default;
    virtual int Next() { return ++value; }
    int value = 0;
};
template <int number>
struct PlainSide {
    virtual ~PlainSide() = default;
    virtual int Get() = 0;
};
struct PlainSix : PlainSide<1>, PlainSide<2>, PlainSide<3>, PlainSide<4>, PlainSide<5>, PlainSide<6> {
    int Get() override { return 6; }
};

// ---- References

void CopyOurs(benchmark::State& state)
{
    const FacePtr<Counter> held = MakeFace<Impl<CounterImpl, Module>>();
    for (auto _ : state) {
        FacePtr<Counter> copy(held);
        benchmark::DoNotOptimize(copy);
    }
}

void CopyShared(benchmark::State& state)
{
    const auto held = std::make_shared<PlainCounter>();
    for (auto _ : state) {
        std::shared_ptr<PlainCounter> copy(held);
        benchmark::DoNotOptimize(copy);
    }
}

void LockOurs(benchmark::State& state)
{
    const FacePtr<Counter> held = MakeFace<Impl<CounterImpl, Module>>();
    const WeakPtr<Counter> weak(held);
    Require(weak.Lock() == held, "the weak reference does not lead to its object");
    for (auto _ : state) {
        FacePtr<Counter> locked = weak.Lock();
        benchmark::DoNotOptimize(locked);
    }
}

void LockShared(benchmark::State& state)
{
    const auto held = std::make_shared<PlainCounter>();
    const std::weak_ptr<PlainCounter> weak(held);
    for (auto _ : state) {
        std::shared_ptr<PlainCounter> locked = weak.lock();
        benchmark::DoNotOptimize(locked);
    }
}

void MadeOurs(benchmark::State& state)
{
    for (auto _ : state) {
        FacePtr<Counter> made = MakeFace<Impl<CounterImpl, Module>>();
        const WeakPtr<Counter> weak(made);
        made = nullptr;
        benchmark::DoNotOptimize(&weak);
    }
}

void MadeShared(benchmark::State& state)
{
    for (auto _ : state) {
        auto made = std::make_shared<PlainCounter>();
        const std::weak_ptr<PlainCounter> weak(made);
        made = nullptr;
        benchmark::DoNotOptimize(&weak);
    }
}

void CastOurs(benchmark::State& state)
{
    const auto object = MakeFace<Impl<SixImpl, Module>>();
    const FacePtr<Side<1>> first = object.Cast<Side<1>>("bench");
    Require(first.Cast<Side<6>>("bench")->Get6() == 6, "the cast does not lead to the last interface");
    for (auto _ : state) {
        FacePtr<Side<6>> last = first.TryCast<Side<6>>();
        benchmark::DoNotOptimize(last);
    }
}

void CastDynamic(benchmark::State& state)
{
    const auto object = std::make_unique<PlainSix>();
    PlainSide<1>* first = object.get();
    Require(dynamic_cast<PlainSide<6>*>(first)->Get() == 6, "the cast does not lead to the last base");
    for (auto _ : state) {
        benchmark::DoNotOptimize(first);
        benchmark::DoNotOptimize(dynamic_cast<PlainSide<6>*>(first));
    }
}

// ---- A thousand classes, in a hundred factories of ten

constexpr int classCount = 1000;
constexpr int classesOfOneFactory = 10;

std::string NameOf(int number)
{
    return "CID_Bench::Counter" + std::to_string(number);
}

class TenFactory : public Face<Object::StaticFactory> {
public:
    explicit TenFactory(int first)
    {
        for (int i = 0; i < classesOfOneFactory; ++i)
            names[static_cast<std::size_t>(i)] = WideString(NameOf(first + i).c_str());
    }

    void CreateInstance(const Clsid& clsid, FacePtr<BaseFace>& out) override
    {
        for (const WideString& name : names)
            if (clsid == name.c_str()) {
                out = MakeFace<Impl<CounterImpl, Module>>();
                return;
            }
    }

    void ListClasses(Object::ClassInfoList& out) override
    {
        for (const WideString& name : names)
            out.push_back(Object::DescribeClass<CounterImpl>(name.c_str()));
    }

private:
    std::array<WideString, classesOfOneFactory> names;
};

std::vector<FacePtr<Object::Factory>> RegisterClasses()
{
    std::vector<FacePtr<Object::Factory>> factories;
    const FacePtr<Object::Manager> manager(Object::managerClass);
    for (int first = 0; first < classCount; first += classesOfOneFactory) {
        factories.emplace_back(MakeFace<Impl<TenFactory, Module>>(first));
        manager->AddFactory(factories.back());
    }
    return factories;
}

const std::vector<Clsid>& ClassNames()
{
    static const std::vector<Clsid> names = [] {
        std::vector<Clsid> made;
        for (int i = 0; i < classCount; ++i)
            made.emplace_back(WideString(NameOf(i).c_str()));
        return made;
    }();
    return names;
}

struct GCounter {
    GObject parent;
    int value;
};

const std::vector<std::string>& TypeNames()
{
    static const std::vector<std::string> names = [] {
        std::vector<std::string> made;
        for (int i = 0; i < classCount; ++i) {
            made.push_back("BenchCounter" + std::to_string(i));
            g_type_register_static_simple(G_TYPE_OBJECT, made.back().c_str(), sizeof(GObjectClass), nullptr,
                sizeof(GCounter), nullptr, GTypeFlags());
        }
        return made;
    }();
    return names;
}

void CreateOurs(benchmark::State& state)
{
    const std::vector<Clsid>& names = ClassNames();
    for (const Clsid& name : names)
        Require(FacePtr<Counter>(name)->Next() == 1, "a class does not make what it should");
    std::size_t i = 0;
    for (auto _ : state) {
        FacePtr<BaseFace> made = Object::CreateObject(names[i], Counter::iid);
        benchmark::DoNotOptimize(made);
        i = i + 1 < names.size() ? i + 1 : 0;
    }
}

void CreateGObject(benchmark::State& state)
{
    const std::vector<std::string>& names = TypeNames();
    for (const std::string& name : names) {
        gpointer made = g_object_new(g_type_from_name(name.c_str()), nullptr);
        Require(name == G_OBJECT_TYPE_NAME(made), "a type does not make what it should");
        g_object_unref(made);
    }
    std::size_t i = 0;
    for (auto _ : state) {
        gpointer made = g_object_new(g_type_from_name(names[i].c_str()), nullptr);
        benchmark::DoNotOptimize(made);
        g_object_unref(made);
        i = i + 1 < names.size() ? i + 1 : 0;
    }
}

// ---- Two threads at once

constexpr int roundsOfOneThread = 50000;

// Seconds until `threads` threads, which start together, have each done their rounds.
template <class Work>
double SecondsFor(int threads, Work work)
{
    std::atomic<int> waiting{0};
    std::atomic<bool> go{false};
    std::vector<std::jthread> running;
    for (int thread = 0; thread < threads; ++thread)
        running.emplace_back([&, thread] {
            ++waiting;
            while (!go)
                std::this_thread::yield();
            for (int round = 0; round < roundsOfOneThread; ++round)
                work(thread);
        });
    while (waiting < threads)
        std::this_thread::yield();
    const auto begin = std::chrono::steady_clock::now();
    go = true;
    running.clear(); // joins them
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

template <class Work>
void Scale(benchmark::State& state, Work work)
{
    double one = 0;
    double two = 0;
    for (auto _ : state) {
        one += SecondsFor(1, work);
        two += SecondsFor(2, work);
    }
    state.counters["ratio"] = 2 * one / two;
}

void ScaleSameClass(benchmark::State& state)
{
    const std::vector<Clsid>& names = ClassNames();
    Scale(state, [&](int) {
        FacePtr<BaseFace> made = Object::CreateObject(names[500], Counter::iid);
        benchmark::DoNotOptimize(made);
    });
}

// Of different factories, too.
void ScaleOtherClass(benchmark::State& state)
{
    const std::vector<Clsid>& names = ClassNames();
    Scale(state, [&](int thread) {
        FacePtr<BaseFace> made = Object::CreateObject(names[thread == 0 ? 250 : 750], Counter::iid);
        benchmark::DoNotOptimize(made);
    });
}

void ScaleMalloc(benchmark::State& state)
{
    Scale(state, [](int) {
        void* const made = std::malloc(sizeof(Impl<CounterImpl, Module>));
        benchmark::DoNotOptimize(made);
        std::free(made);
    });
}

void RegisterAll()
{
    using benchmark::RegisterBenchmark;
    RegisterBenchmark("BM_FacePtrCopy/one/ours", CopyOurs);
    RegisterBenchmark("BM_FacePtrCopy/one/shared_ptr", CopyShared);
    RegisterBenchmark("BM_WeakLock/one/ours", LockOurs);
    RegisterBenchmark("BM_WeakLock/one/weak_ptr", LockShared);
    RegisterBenchmark("BM_MadeWithWeak/one/ours", MadeOurs);
    RegisterBenchmark("BM_MadeWithWeak/one/make_shared", MadeShared);
    RegisterBenchmark("BM_CastToLast/of_six/ours", CastOurs);
    RegisterBenchmark("BM_CastToLast/of_six/dynamic", CastDynamic);
    RegisterBenchmark("BM_CreateObject/of_1000/ours", CreateOurs);
    RegisterBenchmark("BM_CreateObject/of_1000/gobject", CreateGObject);
    RegisterBenchmark("BM_TwoThreads/same_class/ours", ScaleSameClass)->UseRealTime();
    RegisterBenchmark("BM_TwoThreads/same_class/malloc", ScaleMalloc)->UseRealTime();
    RegisterBenchmark("BM_TwoThreads/other_class/ours", ScaleOtherClass)->UseRealTime();
    RegisterBenchmark("BM_TwoThreads/other_class/malloc", ScaleMalloc)->UseRealTime();
}

} // namespace

int main(int argc, char** argv)
{
    std::atomic<bool> over{false};
    std::jthread other([&] { over.wait(false); });
    TesselInitialize();
    {
        const std::vector<FacePtr<Object::Factory>> factories = RegisterClasses();
        RegisterAll();
        benchmark::Initialize(&argc, argv);
        benchmark::RunSpecifiedBenchmarks();
    }
    over = true;
    over.notify_one();
}
