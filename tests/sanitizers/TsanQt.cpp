// SPDX-License-Identifier: MIT

// Linked in front of Qt into everything that the thread sanitizer's preset builds.
//
// Qt is not built with the sanitizer. So the sanitizer does not see that a queued call runs after
// it was posted, or that a lock of Qt orders the code under it, and would report every value that
// an event carries to another thread. The functions here replace those of Qt that order threads:
// they announce the order to the sanitizer and call Qt's function. A value that reaches another
// thread in any other way is still reported.

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QFutureInterface>
#include <QMetaMethod>
#include <QMetaObject>
#include <QMutex>
#include <QRunnable>
#include <QThread>
#include <QThreadPool>

#include <dlfcn.h>
#include <sanitizer/tsan_interface.h>

namespace
{
char edge;

/// Everything that this thread has done so far happens before what other threads do after their
/// next `gHappensAfter`.
void gHappensBefore()
{
    __tsan_release(&edge);
}

void gHappensAfter()
{
    __tsan_acquire(&edge);
}

template<typename Function>
Function gQtFunction(const char *name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

/// Called by Qt before each event is delivered, on the receiver's thread.
bool gBeforeEvent(void ** /*data*/)
{
    gHappensAfter();
    gHappensBefore();
    return false;
}

/// Runs a runnable, which it owns, after everything that was done before that was started. A thread
/// of the pool can run one after another without any other function that is replaced here.
class OrderedRunnable : public QRunnable
{
public:
    explicit OrderedRunnable(QRunnable *runnable)
        : m_runnable(runnable)
    {
    }

    void run() override
    {
        gHappensAfter();
        const bool isOurs = m_runnable->autoDelete();
        m_runnable->run();
        if (isOurs) {
            delete m_runnable;
        }
        gHappensBefore();
    }

private:
    QRunnable *m_runnable;
};

const bool registered = QInternal::registerCallback(QInternal::EventNotifyCallback, gBeforeEvent);
} // namespace

/// The body of a replacement: calls Qt's function @p symbol, after `gHappensBefore` and before
/// `gHappensAfter`.
#define QUILLON_CALL_QT(symbol, Type, ...)                                                         \
    static const auto qt = gQtFunction<Type>(symbol);                                              \
    gHappensBefore();                                                                              \
    qt(__VA_ARGS__);                                                                               \
    gHappensAfter()

#define QUILLON_RETURN_QT(symbol, Type, ...)                                                       \
    static const auto qt = gQtFunction<Type>(symbol);                                              \
    gHappensBefore();                                                                              \
    const auto result = qt(__VA_ARGS__);                                                           \
    gHappensAfter();                                                                               \
    return result

void QMetaObject::activate(QObject *sender, const QMetaObject *meta, int local_signal_index,
                           void **argv)
{
    using Type = void (*)(QObject *, const QMetaObject *, int, void **);
    QUILLON_CALL_QT("_ZN11QMetaObject8activateEP7QObjectPKS_iPPv", Type, sender, meta,
                    local_signal_index, argv);
}

bool QMetaObject::invokeMethodImpl(QObject *object, QtPrivate::QSlotObjectBase *slot,
                                   Qt::ConnectionType type, void *ret)
{
    using Type = bool (*)(QObject *, QtPrivate::QSlotObjectBase *, Qt::ConnectionType, void *);
    QUILLON_RETURN_QT(
        "_ZN11QMetaObject16invokeMethodImplEP7QObjectPN9QtPrivate15QSlotObjectBaseEN2Qt14"
        "ConnectionTypeEPv",
        Type, object, slot, type, ret);
}

void QCoreApplication::postEvent(QObject *receiver, QEvent *event, int priority)
{
    using Type = void (*)(QObject *, QEvent *, int);
    QUILLON_CALL_QT("_ZN16QCoreApplication9postEventEP7QObjectP6QEventi", Type, receiver, event,
                    priority);
}

void QThread::start(Priority priority)
{
    using Type = void (*)(QThread *, Priority);
    QUILLON_CALL_QT("_ZN7QThread5startENS_8PriorityE", Type, this, priority);
}

bool QThread::wait(unsigned long time)
{
    using Type = bool (*)(QThread *, unsigned long);
    QUILLON_RETURN_QT("_ZN7QThread4waitEm", Type, this, time);
}

bool QThread::wait(QDeadlineTimer deadline)
{
    using Type = bool (*)(QThread *, QDeadlineTimer);
    QUILLON_RETURN_QT("_ZN7QThread4waitE14QDeadlineTimer", Type, this, deadline);
}

void QMutex::lock() QT_MUTEX_LOCK_NOEXCEPT
{
    using Type = void (*)(QMutex *);
    static const auto qt = gQtFunction<Type>("_ZN6QMutex4lockEv");
    qt(this);
    gHappensAfter();
}

void QMutex::unlock() noexcept
{
    using Type = void (*)(QMutex *);
    static const auto qt = gQtFunction<Type>("_ZN6QMutex6unlockEv");
    gHappensBefore();
    qt(this);
}

void QThreadPool::start(QRunnable *runnable, int priority)
{
    using Type = void (*)(QThreadPool *, QRunnable *, int);
    auto *const ordered = new OrderedRunnable(runnable); // the pool deletes it
    QUILLON_CALL_QT("_ZN11QThreadPool5startEP9QRunnablei", Type, this, ordered, priority);
}

void QFutureInterfaceBase::reportFinished()
{
    using Type = void (*)(QFutureInterfaceBase *);
    QUILLON_CALL_QT("_ZN20QFutureInterfaceBase14reportFinishedEv", Type, this);
}

void QFutureInterfaceBase::waitForFinished()
{
    using Type = void (*)(QFutureInterfaceBase *);
    QUILLON_CALL_QT("_ZN20QFutureInterfaceBase15waitForFinishedEv", Type, this);
}
