/*
 * The protocol of the life word and of the list of weak references, as object/life.cpp and
 * object/hazards.cpp have it, for exhaustive verification by spin. Numbers in brackets are the invariants
 * of include/tessel/object/life.h.
 *
 * There is one object with its weak references, and two hazard lines. Each access to memory that threads
 * share is one step; so is a loop of compare-and-swaps, for its failed rounds change nothing. Each access
 * asserts that its memory is not freed. A wait by Sleep(0) is a condition that blocks, so that threads that
 * wait for each other are found as a deadlock. Steps are sequentially consistent: why weaker memory orders
 * suffice is argued where the code has them.
 *
 * The threads:
 *   READERS   so many lock reference 1, use what they get, and let go
 *   HOLDERS   so many have a reference to the object and let go; 0: it is still to get its first
 *   OWNER     1: detaches reference 2 and frees it
 *   ATTACHES  1: the one holder first attaches reference 3, and at last detaches and frees it
 *
 * Protective steps that can be left out, to see that each is needed:
 *   WITHOUT_RECHECK      the second look at `guard`, after the announcement
 *   WITHOUT_WAIT         the destroyer's wait for the announcements
 *   WITHOUT_CLAIM        the step 4 -> 1: the last reference goes by 4 -> 0, then 0 -> 1
 *   WITHOUT_STATE_CHECK  the look at the state after a weak lock has added a first reference
 *   WITHOUT_LIST_LOCK    a detach reads the list and leaves it open to others
 *   NEXT_READ_LATE       `next` is read after its reference was turned
 *   USED_SET_LATE        the bit of a line is set after the second look at `guard`
 *   LIST_READ_EARLY      the destroyer reads the list before its claim
 */

#define NONE 0
#define OBJECT 1 /* the object, or its life word */
#define ZOMBIE 2 /* the Zombie, or its word */
#define LOCKED 9 /* as the head of the list: all ones */

#define REFERENCE 4
#define DYING 1
#define LIVES(value) ((value & 3) == 0)

typedef WeakReference {
    byte guard;
    byte object;
    byte next; /* a reference is known by its number, 0 is null */
    bool freed
};
WeakReference weak[4];

byte word = REFERENCE * HOLDERS;
byte head;
bool gone; /* the object's memory is freed */
byte counted = (HOLDERS > 0); /* calls of Lock less calls of Unlock */

byte line[2]; /* what is announced there */
bool used[2];

#define OBJECT_IS_THERE assert(!gone)
#define IS_THERE(w) assert(!weak[w].freed)

/* What each thread has for itself. It is set back when it is done with, which keeps the states few. */
#define LOCALS                                                                                               \
    byte result, seen, index, current, following, first;                                                     \
    bool yes, looks[2]

/* ---- Hazards ---- */

inline Announce(w)
{
    atomic { IS_THERE(w); seen = weak[w].guard };
    if
    :: seen == ZOMBIE
    :: else ->
        if /* whichever processor it runs on */
        :: index = 0
        :: index = 1
        fi;
        do
        ::
#ifndef USED_SET_LATE
            used[index] = true;
#endif
            if
            :: atomic { line[index] == NONE -> line[index] = seen }; break
            :: else -> index = 1 - index
            fi
        od;
#ifndef WITHOUT_RECHECK
        atomic { IS_THERE(w); yes = (weak[w].guard == seen) };
        if
        :: yes
        :: else -> Withdraw(); seen = ZOMBIE
        fi;
#endif
#ifdef USED_SET_LATE
        used[index] = true
#endif
    fi
}

inline Withdraw()
{
    atomic { line[index] = NONE; index = 0; seen = NONE; yes = false }
}

inline WaitUntilUnannounced()
{
    atomic { looks[0] = used[0]; looks[1] = used[1] };
#ifndef WITHOUT_WAIT
    if
    :: looks[0] -> line[0] != OBJECT
    :: else
    fi;
    if
    :: looks[1] -> line[1] != OBJECT
    :: else
    fi;
#endif
    atomic { looks[0] = false; looks[1] = false }
}

/* ---- The life word ---- */

/* Keeps (4): it is the first reference. Or others were faster; where they made the object a dying one, its
   destroyer waits for the announcement of this thread and then sets the word back. */
inline AddRef()
{
    atomic { OBJECT_IS_THERE; yes = (word == 0); word = word + REFERENCE };
    if
    :: yes -> counted++
    :: else
    fi
}

/* Keeps (2): `yes` for the one who destroys. */
inline DropOrClaim()
{
#ifndef WITHOUT_CLAIM
    atomic {
        OBJECT_IS_THERE;
        yes = (word == REFERENCE);
        word = (yes -> DYING : word - REFERENCE)
    }
#else
    atomic { OBJECT_IS_THERE; word = word - REFERENCE; yes = (word == 0) };
    if
    :: yes ->
        atomic { OBJECT_IS_THERE; yes = (word == 0); word = (yes -> DYING : word) };
        if
        :: yes
        :: else -> counted-- /* somebody has revived it, and counted it again */
        fi
    :: else
    fi
#endif
}

/* Keeps (3): one whose reference was not the last touches nothing. Keeps (1), and reads the list without its
   lock because of (5). */
inline Release()
{
#ifdef LIST_READ_EARLY
    atomic { head != LOCKED -> OBJECT_IS_THERE; current = head };
#endif
    DropOrClaim();
    if
    :: !yes
    :: else ->
#ifndef LIST_READ_EARLY
        atomic { OBJECT_IS_THERE; current = head };
#endif
        assert(current != LOCKED);
        if
        :: current == NONE
        :: else ->
            do
            :: current == NONE -> break
            :: else -> TurnToZombie()
            od;
            WaitUntilUnannounced();
            atomic { OBJECT_IS_THERE; head = NONE }
        fi;
        atomic { OBJECT_IS_THERE; word = 0 };
        atomic { OBJECT_IS_THERE; assert(head == NONE && word == 0); gone = true };
        atomic { assert(counted > 0); counted-- }
    fi
}

inline TurnToZombie()
{
#ifndef NEXT_READ_LATE
    atomic { IS_THERE(current); following = weak[current].next };
#endif
    atomic { IS_THERE(current); weak[current].object = ZOMBIE };
    atomic { IS_THERE(current); weak[current].guard = ZOMBIE };
#ifdef NEXT_READ_LATE
    atomic { IS_THERE(current); following = weak[current].next };
#endif
    atomic { current = following; following = NONE }
}

/* ---- The list of weak references: all of it keeps (5) ---- */

inline AttachObject(w)
{
    weak[w].object = OBJECT;
    weak[w].guard = OBJECT;
    do
    ::
        atomic { head != LOCKED -> OBJECT_IS_THERE; first = head };
        weak[w].next = first;
        if
        :: atomic { head == first -> OBJECT_IS_THERE; head = w; first = NONE }; break
        :: else
        fi
    od
}

inline DetachWeak(w)
{
#ifndef WITHOUT_LIST_LOCK
    atomic { head != LOCKED -> OBJECT_IS_THERE; first = head; head = LOCKED };
#else
    atomic { OBJECT_IS_THERE; first = head };
#endif
    if
    :: first == w -> atomic { IS_THERE(w); first = weak[w].next }
    :: else ->
        current = first;
        do
        ::
            atomic { assert(current != NONE); IS_THERE(current); following = weak[current].next };
            if
            :: following == w -> break
            :: else -> current = following
            fi
        od;
        atomic { IS_THERE(w); following = weak[w].next };
        atomic { IS_THERE(current); weak[current].next = following }
    fi;
    atomic { OBJECT_IS_THERE; head = first; first = NONE; current = NONE; following = NONE }
}

/* ---- Weak references ---- */

/* `result` is the object, with a reference for the caller, or NONE. */
inline LockObject(w)
{
    result = NONE;
    Announce(w);
    if
    :: seen == ZOMBIE
    :: else ->
        atomic { /* AddToLiving keeps (4) */
            OBJECT_IS_THERE;
            yes = (LIVES(word) && word >= REFERENCE);
            word = (yes -> word + REFERENCE : word)
        };
        if
        :: yes -> atomic { IS_THERE(w); result = weak[w].object }
        :: else ->
            atomic { OBJECT_IS_THERE; yes = LIVES(word) };
            if
            :: yes -> AddFirst(w)
            :: else
            fi
        fi;
        Withdraw()
    fi
}

inline AddFirst(w)
{
    atomic { IS_THERE(w); result = weak[w].object };
    if
    :: result == OBJECT -> AddRef()
    :: else /* the Zombie counts nothing */
    fi;
#ifndef WITHOUT_STATE_CHECK
    atomic { OBJECT_IS_THERE; result = (LIVES(word) -> result : NONE) }
#endif
}

inline DetachObject(w)
{
    do
    ::
        LockObject(w);
        if
        :: result != NONE -> DetachWeak(w); Release(); break
        :: else ->
            if
            :: weak[w].guard == ZOMBIE -> break
            :: else -> weak[w].guard == ZOMBIE /* its destroyer is about to turn it */
            fi
        fi
    od
}

/* ---- The threads ---- */

inline Use()
{
    atomic { OBJECT_IS_THERE; assert(result == OBJECT && LIVES(word) && word >= REFERENCE) }
}

proctype Reader()
{
    LOCALS;
    LockObject(1);
    if
    :: result == NONE
    :: else -> Use(); Release()
    fi
}

proctype Holder()
{
    LOCALS;
#if ATTACHES
    AttachObject(3);
#endif
    result = OBJECT;
    Use();
    Release();
#if ATTACHES
    DetachObject(3);
    weak[3].freed = true
#endif
}

proctype Owner()
{
    LOCALS;
    DetachObject(2);
    weak[2].freed = true
}

inline AttachAtStart(w)
{
    weak[w].object = OBJECT;
    weak[w].guard = OBJECT;
    weak[w].next = head;
    head = w
}

init
{
    byte i = 0;
    atomic {
        if /* either order in the list */
        :: AttachAtStart(1); if :: OWNER -> AttachAtStart(2) :: else fi
        :: OWNER -> AttachAtStart(2); AttachAtStart(1)
        fi;
        do :: i < READERS -> run Reader(); i++ :: else -> break od;
        do :: i < READERS + HOLDERS -> run Holder(); i++ :: else -> break od;
        if :: OWNER -> run Owner() :: else fi
    };
    _nr_pr == 1;
    /* Whoever was first and last: the object was destroyed once, and what is left points at the Zombie. */
    assert(gone && counted == 0);
    assert(weak[1].guard == ZOMBIE && weak[1].object == ZOMBIE);
    assert(line[0] == NONE && line[1] == NONE)
}
