#pragma once

#include <QAtomicInt>
#include <QThread>

#include <memory>

// Makes one object of T on first use, safely against concurrent first callers: the first
// caller runs T's constructor while later callers yield the thread until it is done. A
// constructor that throws leaves the guard as if nothing had been made, so that the next
// caller tries again. The object lives until reset() or the guard's end.
//
// A guard is meant to be a static object: its state starts as a constant, so it is usable
// before any static initialisation runs.
template <class T> class SingletonGuard
{
public:
    enum State { NotMade, InProgress, Made, Failed };

    constexpr SingletonGuard() = default;
    SingletonGuard(const SingletonGuard&) = delete;
    SingletonGuard& operator=(const SingletonGuard&) = delete;

    T* instance()
    {
        for (;;) {
            const int state = m_state.loadAcquire();
            if (state == Made)
                return m_object.get();
            if (state == InProgress) {
                QThread::yieldCurrentThread();
                continue;
            }
            if (!m_state.testAndSetAcquire(state, InProgress))
                continue;
            try {
                m_object.reset(new T);
            } catch (...) {
                m_state.storeRelease(Failed);
                throw;
            }
            m_state.storeRelease(Made);
            return m_object.get();
        }
    }

    State state() const { return State(m_state.loadAcquire()); }

    // Destroys the object; the next instance() makes a new one. Not for use while another
    // thread may be inside instance().
    void reset()
    {
        m_object.reset();
        m_state.storeRelease(NotMade);
    }

private:
    QAtomicInt m_state{NotMade};
    std::unique_ptr<T> m_object;
};
