// The IUnknown of our COM classes, generated from one compile-time list per class.
//
//   class X : public iui_::IUnknownImpl<IStream, iui_::QI<ISequentialStream>, IStreamManager>
//
// says everything X answers in QueryInterface, in the order the list is walked. The kinds
// of entry:
//   I                   X derives from I; the query casts to it.
//   Virtual<I>          as I, with I as a virtual base.
//   QI<I>               answered by a cast, with no base of its own (I is a base of
//                       another entry, as ISequentialStream is of IStream).
//   Aggreg<I>           passed on to an aggregated inner object, which the class gives
//                       through aggregateFor().
//   AggregationSupport  X can itself be aggregated: its IUnknown goes to the outer object,
//                       and INondelegatingUnknown is its own.
#pragma once

#include <atomic>
#include <type_traits>

#include "platform/Win32.h"

// The inner IUnknown of an aggregable object, which owns its life. The outer object holds
// it through a small IUnknown that forwards here.
struct INondelegatingUnknown {
  virtual HRESULT STDMETHODCALLTYPE NondelegatingQueryInterface(REFIID riid, void** ppv) = 0;
  virtual ULONG STDMETHODCALLTYPE NondelegatingAddRef() = 0;
  virtual ULONG STDMETHODCALLTYPE NondelegatingRelease() = 0;

 protected:
  ~INondelegatingUnknown() = default;
};

namespace iui_ {

// The IID of an interface type; specialised by ZEL_IUI_INTERFACE.
template <class I>
struct InterfaceId;

template <class I>
struct Virtual {};
template <class I>
struct QI {};
template <class I>
struct Aggreg {
  using Interface = I;
};
struct AggregationSupport {};

namespace detail {

// The base that an entry gives the class.
template <class E>
struct BaseOf {
  using type = E;
};
template <class I>
struct VirtualBase : virtual I {};
template <class I>
struct BaseOf<Virtual<I>> {
  using type = VirtualBase<I>;
};
// Distinct empty bases, one per entry, so that the base list stays valid.
template <class E>
struct NoBase {};

// The IUnknown that an outer object holds for an aggregated one: a real IUnknown, so that
// no pointer has to be reinterpreted.
class NondelegatingFace : public IUnknown {
 public:
  explicit NondelegatingFace(INondelegatingUnknown* owner) : owner_(owner) {}
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override {
    return owner_->NondelegatingQueryInterface(riid, ppv);
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return owner_->NondelegatingAddRef(); }
  ULONG STDMETHODCALLTYPE Release() override { return owner_->NondelegatingRelease(); }

 private:
  INondelegatingUnknown* owner_;
};
struct NoFace {
  explicit NoFace(void*) {}
};
template <class I>
struct BaseOf<QI<I>> {
  using type = NoBase<QI<I>>;
};
template <class I>
struct BaseOf<Aggreg<I>> {
  using type = NoBase<Aggreg<I>>;
};
template <>
struct BaseOf<AggregationSupport> {
  using type = INondelegatingUnknown;
};

template <class E>
struct InterfaceOf {
  using type = E;
};
template <class I>
struct InterfaceOf<Virtual<I>> {
  using type = I;
};
template <class I>
struct InterfaceOf<QI<I>> {
  using type = I;
};

template <class E>
struct IsAggreg : std::false_type {};
template <class I>
struct IsAggreg<Aggreg<I>> : std::true_type {};

// The first entry that the class derives from as an interface: its IUnknown is the object's.
template <class... Es>
struct FirstInterface;
template <class E, class... Es>
struct FirstInterface<E, Es...> {
  using type = std::conditional_t<std::is_same<E, AggregationSupport>::value || IsAggreg<E>::value ||
                                      std::is_same<typename BaseOf<E>::type, NoBase<E>>::value,
                                  typename FirstInterface<Es...>::type, typename InterfaceOf<E>::type>;
};
template <>
struct FirstInterface<> {
  using type = void;
};

}  // namespace detail

template <class... Entries>
class IUnknownImpl : public detail::BaseOf<Entries>::type... {
 public:
  static constexpr bool aggregable = (std::is_same<Entries, AggregationSupport>::value || ...);
  using PrimaryInterface = typename detail::FirstInterface<Entries...>::type;
  static_assert(!std::is_void<PrimaryInterface>::value, "the list needs one interface the class derives from");

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override {
    if constexpr (aggregable) return outer_->QueryInterface(riid, ppv);
    else return queryList(riid, ppv);
  }
  ULONG STDMETHODCALLTYPE AddRef() override {
    if constexpr (aggregable) return outer_->AddRef();
    else return ++count_;
  }
  ULONG STDMETHODCALLTYPE Release() override {
    if constexpr (aggregable) return outer_->Release();
    else return releaseOwn();
  }

  // The non-delegating side; only aggregable classes have it as a base.
  HRESULT STDMETHODCALLTYPE NondelegatingQueryInterface(REFIID riid, void** ppv) {
    if (ppv && IsEqualIID(riid, IID_IUnknown)) {
      *ppv = nondelegatingUnknown();
      NondelegatingAddRef();
      return S_OK;
    }
    return queryList(riid, ppv);
  }
  ULONG STDMETHODCALLTYPE NondelegatingAddRef() { return ++count_; }
  ULONG STDMETHODCALLTYPE NondelegatingRelease() { return releaseOwn(); }

  // What the outer object holds as the inner's IUnknown.
  IUnknown* nondelegatingUnknown() {
    static_assert(aggregable, "only an aggregable class has a non-delegating IUnknown");
    return &face_;
  }

 protected:
  // The count starts at 1: the creator owns the first reference.
  IUnknownImpl() : outer_(nullptr), face_(this) { initOuter(nullptr); }
  explicit IUnknownImpl(IUnknown* outer) : outer_(nullptr), face_(this) { initOuter(outer); }
  IUnknownImpl(const IUnknownImpl&) = delete;
  IUnknownImpl& operator=(const IUnknownImpl&) = delete;
  virtual ~IUnknownImpl() = default;

  // Runs when the count has reached 0, before the object is deleted.
  virtual void finalRelease() {}
  // The inner object that answers an Aggreg<I> entry.
  virtual IUnknown* aggregateFor(REFIID) { return nullptr; }
  IUnknown* outerUnknown() const { return outer_; }

  // Walks the list in order. A hit is given out with a reference taken.
  HRESULT queryList(REFIID riid, void** ppv) {
    if (!ppv) return E_POINTER;
    *ppv = nullptr;
    if (!aggregable && IsEqualIID(riid, IID_IUnknown)) {
      *ppv = static_cast<IUnknown*>(static_cast<PrimaryInterface*>(this));
      AddRef();
      return S_OK;
    }
    HRESULT result = E_NOINTERFACE;
    (void)((match<Entries>(riid, ppv, result)) || ...);
    return result;
  }

 private:
  template <class E>
  bool match(REFIID riid, void** ppv, HRESULT& result) {
    if constexpr (std::is_same<E, AggregationSupport>::value) {
      return false;
    } else if constexpr (detail::IsAggreg<E>::value) {
      using I = typename E::Interface;
      if (!IsEqualIID(riid, InterfaceId<I>::value())) return false;
      IUnknown* inner = aggregateFor(riid);
      result = inner ? inner->QueryInterface(riid, ppv) : E_NOINTERFACE;
      return true;
    } else {
      using I = typename detail::InterfaceOf<E>::type;
      if (!IsEqualIID(riid, InterfaceId<I>::value())) return false;
      I* face = static_cast<I*>(this);
      *ppv = face;
      face->AddRef();
      result = S_OK;
      return true;
    }
  }

  void initOuter(IUnknown* outer) {
    if constexpr (aggregable) outer_ = outer ? outer : nondelegatingUnknown();
    else outer_ = outer;
  }

  ULONG releaseOwn() {
    const ULONG left = --count_;
    if (left == 0) {
      // A final step may take and drop references again; keep it from deleting twice.
      count_ = 1;
      finalRelease();
      delete this;
    }
    return left;
  }

  IUnknown* outer_;
  std::conditional_t<aggregable, detail::NondelegatingFace, detail::NoFace> face_;
  std::atomic<ULONG> count_{1};
};

}  // namespace iui_

#define ZEL_IUI_INTERFACE(Interface, iid)                   \
  namespace iui_ {                                          \
  template <>                                               \
  struct InterfaceId<Interface> {                           \
    static const IID& value() { return iid; }               \
  };                                                        \
  }

ZEL_IUI_INTERFACE(IUnknown, IID_IUnknown)
ZEL_IUI_INTERFACE(ISequentialStream, IID_ISequentialStream)
ZEL_IUI_INTERFACE(IStream, IID_IStream)
ZEL_IUI_INTERFACE(IMarshal, IID_IMarshal)
ZEL_IUI_INTERFACE(IExternalConnection, IID_IExternalConnection)
ZEL_IUI_INTERFACE(IDispatch, IID_IDispatch)
ZEL_IUI_INTERFACE(IConnectionPointContainer, IID_IConnectionPointContainer)
ZEL_IUI_INTERFACE(IConnectionPoint, IID_IConnectionPoint)
ZEL_IUI_INTERFACE(IEnumConnections, IID_IEnumConnections)
