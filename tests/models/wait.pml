/*
 * The wait, as platform/linux/waits has it, for exhaustive verification by spin. Numbers in brackets are the
 * invariants of platform/linux/waits/waitable.h.
 *
 * There are two objects, 0 and 1, and so many waiters, each of which waits for both, so many times. Each
 * compare-and-swap, each change under a lock and the kernel's compare-and-sleep is one step. A list is a bit
 * for each waiter. Steps are sequentially consistent: the order comes from the objects' locks and from the
 * steps on `state`. A thread of the host may set, reset or end a wait by time at any instant.
 *
 * The configuration:
 *   WAITERS, WAITS       waiters, and how often each waits
 *   SETS0, SETS1         setters of either object, each of one set
 *   RESETS0              resets of object 0
 *   TIMEOUTS             how many waits may end by time
 *   MANUAL0, MANUAL1     the object keeps its signal
 *   NAMED1               object 1 is a word between processes, slept on together with `state`
 *
 * Protective steps that can be left out, or put wrong, to see that each is needed:
 *   WITHOUT_DIRTY        a setter passes over who is still looking, without a mark
 *   SIGNALLED_EARLY      the signal is visible before the walk over the list
 *   CLAIM_AFTER_TAKING   object 1 between processes is taken before the waiter has claimed itself
 *   WITHOUT_LOOKING_ANEW a waiter whose take failed goes on from there instead of from object 0
 *   ANNOUNCED_BLINDLY    a sleeper on the word between processes does not compare what it sleeps on
 */

#define IDLE 0
#define ENTER 1
#define DIRTY 2
#define OPEN 3
#define ASLEEP 4
#define CLAIMED 5 /* + index */

#ifndef MANUAL0
#define MANUAL0 0
#endif
#ifndef MANUAL1
#define MANUAL1 0
#endif
#define KEEPS(o) (o == 0 -> MANUAL0 : MANUAL1)
#ifdef NAMED1
#define IS_NAMED(o) (o == 1)
#else
#define IS_NAMED(o) (o == 9)
#endif

byte state[WAITERS];
bool waiting[WAITERS]; /* its records are alive */
bool sleeping[WAITERS]; /* in the kernel */
bool locked[2], signalled[2];
bool hung[2 * WAITERS]; /* by object, then waiter */
bool sleepers; /* of the word between processes; `signalled[1]` is its signal */
byte sequence;
byte sets[2], taken[2], merged[2]; /* merged into a signal that nobody had taken, or reset with it */
byte timeouts;

#if defined(NAMED1) && !defined(ANNOUNCED_BLINDLY)
#define WORD_IS_THE_SAME (!signalled[1] && sleepers && sequence == seen)
#else
#define WORD_IS_THE_SAME true
#endif
#define HUNG(o, w) hung[(o) * WAITERS + (w)]
#define NOBODY_HANGS(o) (HUNG(o, 0) + HUNG(o, WAITERS - 1) == 0)
#define LOCK(o) atomic { !locked[o] -> locked[o] = true }
#define EACH(i, n) i = 0; do :: i == n -> break :: else ->
#define NEXT(i) i++ od

/* From `from` to `to`, and whether that was so. */
inline Swap(w, from, to) { yes = (state[w] == from); state[w] = (yes -> to : state[w]) }
inline TakeSignal(o) { signalled[o] = KEEPS(o); taken[o]++ }
inline LeaveSignal(o) { sets[o]++; merged[o] = merged[o] + signalled[o]; signalled[o] = true }

/* ---- A setter */

inline Walk(o)
{
    EACH(w, WAITERS)
        atomic {
            yes = HUNG(o, w) && (state[w] == OPEN || state[w] == ASLEEP);
            assert(!HUNG(o, w) || waiting[w]);
            if
            :: yes -> /* (2): nothing of the waiter is touched any more but its bell */
                wakes = wakes | (state[w] == ASLEEP -> 1 << w : 0);
                state[w] = CLAIMED + o;
                HUNG(o, w) = false;
                taken[o]++
#ifndef WITHOUT_DIRTY
            :: !yes && HUNG(o, w) && state[w] == ENTER -> state[w] = DIRTY
#endif
            :: else
            fi
        };
        given = given || yes;
        if :: yes && !KEEPS(o) -> break :: else fi;
    NEXT(w)
}

proctype Setter(byte o)
{
    byte w, wakes;
    bool yes, given;
    if
    :: IS_NAMED(o) ->
        atomic { /* one system call, or one step where nobody sleeps */
            LeaveSignal(o);
            EACH(w, WAITERS) sleeping[w] = (sleepers -> false : sleeping[w]); NEXT(w)
        }
    :: atomic { !IS_NAMED(o) && !locked[o] && NOBODY_HANGS(o) -> LeaveSignal(o) }
    :: atomic { !IS_NAMED(o) && !locked[o] && !NOBODY_HANGS(o) -> locked[o] = true };
        sets[o]++;
        if
        :: signalled[o] -> atomic { merged[o]++; locked[o] = false }
        :: else ->
#ifdef SIGNALLED_EARLY
            signalled[o] = true;
#endif
            Walk(o);
            atomic { signalled[o] = !given || KEEPS(o); locked[o] = false }; /* (7) */
            EACH(w, WAITERS)
                if :: wakes & (1 << w) -> sleeping[w] = false :: else fi;
            NEXT(w)
        fi
    fi
}

proctype Resetter()
{
    atomic { !locked[0] -> merged[0] = merged[0] + signalled[0]; signalled[0] = false }
}

/* ---- A waiter */

/* `yes`: object o is taken. `looks`: it was not signalled. Neither: something below has been signalled. */
inline Claim(o)
{
    Swap(me, ENTER, CLAIMED + o);
    assert(!yes || o == 0 || !signalled[0]) /* the lowest index, exactly */
}

inline PassByLocal(o)
{
    LOCK(o);
    looks = !signalled[o];
    if
    :: looks -> atomic { HUNG(o, me) = true; locked[o] = false; yes = false }
    :: else ->
        atomic {
            Claim(o);
            if :: yes -> TakeSignal(o); HUNG(o, me) = false :: else fi
        };
        locked[o] = false
    fi
}

inline PassByNamed(o)
{
    atomic { looks = !signalled[o]; yes = false };
    if
    :: looks
    :: else ->
#ifndef CLAIM_AFTER_TAKING
        atomic { Claim(o) };
#else
        yes = true;
#endif
        atomic {
            yes = yes && signalled[o];
            if :: yes -> TakeSignal(o); sleepers = false; sequence = (sequence + 1) % 4 :: else fi
        };
#ifdef CLAIM_AFTER_TAKING
        atomic { if :: yes -> Swap(me, ENTER, CLAIMED + o); assert(yes) :: else fi }
#endif
#ifdef WITHOUT_LOOKING_ANEW
        atomic { if :: !yes && state[me] == CLAIMED + o -> state[me] = ENTER; looks = true :: else fi }
#endif
    fi
}

proctype Waiter(byte me)
{
    byte i, rounds, seen;
    bool yes, looks;
next:
    if :: rounds == WAITS -> goto over :: else fi;
    rounds++;
    waiting[me] = true;
again:
    state[me] = ENTER; /* whatever it was: DIRTY, or CLAIMED by itself for a take that failed */
    EACH(i, 2)
        if :: IS_NAMED(i) -> PassByNamed(i) :: else -> PassByLocal(i) fi;
        if :: yes -> goto done :: !yes && !looks -> goto again :: else fi;
    NEXT(i);
    atomic { Swap(me, ENTER, OPEN); assert(!yes || (!signalled[0] && (IS_NAMED(1) || !signalled[1]))) };
    if :: yes :: else -> goto again fi;
#ifdef NAMED1
    atomic { looks = !signalled[1]; sleepers = sleepers || looks; seen = sequence };
    if :: looks :: else -> goto rescan fi;
#endif
    atomic { Swap(me, OPEN, ASLEEP) };
    do
    :: atomic { state[me] != ASLEEP -> break }
    :: atomic { state[me] == ASLEEP && timeouts < TIMEOUTS -> timeouts++; state[me] = IDLE; break }
    :: else ->
        atomic { /* the kernel compares, and puts it to sleep */
            sleeping[me] = (state[me] == ASLEEP && WORD_IS_THE_SAME)
        };
endAsleep:
        if
        :: !sleeping[me]
        :: atomic { sleeping[me] && timeouts < TIMEOUTS -> sleeping[me] = false }
        fi;
#ifdef NAMED1
        atomic { Swap(me, ASLEEP, ENTER) }; /* the word between processes may have changed */
        if :: yes -> goto again :: else fi
#endif
    od;
    goto done;
#ifdef NAMED1
rescan:
    atomic { Swap(me, OPEN, ENTER) };
    if :: yes -> goto again :: else fi;
#endif
done:
    EACH(i, 2)
        if :: HUNG(i, me) -> LOCK(i); atomic { HUNG(i, me) = false; locked[i] = false } :: else fi;
    NEXT(i);
    atomic { state[me] = IDLE; waiting[me] = false; yes = false; looks = false; seen = 0; i = 0 };
    goto next;
over:
    skip
}

/* When nothing moves any more: nobody sleeps beside a signal, and every set is accounted for. */
active proctype Judge()
{
    byte w;
    atomic {
        EACH(w, WAITERS) run Waiter(w); NEXT(w);
        EACH(w, SETS0) run Setter(0); NEXT(w);
        EACH(w, SETS1) run Setter(1); NEXT(w);
        EACH(w, RESETS0) run Resetter(); NEXT(w)
    };
    timeout -> atomic {
        EACH(w, WAITERS)
            assert(!(sleeping[w] && (signalled[0] || signalled[1])));
            assert(!waiting[w] || sleeping[w]);
        NEXT(w);
        assert(KEEPS(0) || taken[0] + signalled[0] + merged[0] == sets[0]);
        assert(KEEPS(1) || taken[1] + signalled[1] + merged[1] == sets[1])
    }
}
