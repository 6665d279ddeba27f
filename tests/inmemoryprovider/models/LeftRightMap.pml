/* The steps of LeftRightMap's readers and its writer, and of a lookup in it that also locks a folder's
 * mutex. The readers' counters are striped: a reader may use any stripe for each lookup, because its thread
 * may run on any processor.
 *
 * Safety: no reader reads a copy that is being changed; both copies are equal between two changes; a sleeping
 * writer is woken. Progress: the writer makes progress with any number of readers, and does not spin
 * meanwhile. A folder's mutex that is never released blocks the threads that use that folder, never the
 * writer.
 *
 * All atomic operations of the code are sequentially consistent. So every execution of the code is an
 * interleaving of these steps. A reader may stop after any lookup; the writer never stops.
 */

#define READERS 2
#define STRIPES 2
#define WAITING 4 /* a bit above every possible number of readers */

bit published;   /* the copy that readers use */
bit turn;        /* the counter of a stripe that readers use */
byte count[2 * STRIPES];  /* the number of readers, and the bit WAITING */
bool asleep[2 * STRIPES]; /* whether the writer sleeps until the counter changes */

#define counter(stripe, t) ((stripe) * 2 + (t))

/* State for the assertions only. */
bit version[2];          /* of each copy; a change flips it */
bool changing[2];        /* whether a copy is being changed */
byte reading[2];         /* how many readers read a copy */
bool announced[2 * STRIPES]; /* whether the writer has set its bit in the counter */
byte spins;              /* how often the writer has read a counter that did not change */

inline enter(c) { d_step { count[c] = count[c] + 1; spins = 0 } }
inline leave(c) {
    d_step { old = count[c]; count[c] = count[c] - 1; spins = 0; assert((old & WAITING) == 0 || announced[c]) }
}
inline wake(c) { if :: old == (WAITING | 1) -> asleep[c] = false :: else fi }
inline lookUp(copy) {
    d_step { reading[copy]++; assert(!changing[copy]) }
    atomic {
        reading[copy]--;
        if :: isRead = true :: isRead = false fi /* another thread may hold the folder's mutex */
    }
}

/* The other thread may hold the mutex forever. */
inline readIfInUse() {
    if
    :: isRead = true
    :: !isRead ->
end_wait:
        false
    fi
}

active [READERS] proctype Reader() {
    byte c;
    bit p;
    bool isRead;
    byte old;
end:
    do
    :: break
    ::  atomic { if :: c = counter(0, turn) :: c = counter(1, turn) fi } /* step: read the turn */
        enter(c);                               /* step: increment the counter */
        p = published;                          /* step: read which copy is published */
        lookUp(p);
        leave(c);                          /* step: decrement the counter; before: wait for a folder in use */
        atomic {
            wake(c);                            /* step: wake the writer; before: wait for a folder in use */
            readIfInUse();                      /* step: wait for a folder in use */
            assert(isRead); c = 0; p = 0; old = 0; isRead = false
        }
    od
}

inline change(copy) {
    d_step { changing[copy] = true; assert(reading[copy] == 0) }
    d_step { version[copy] = 1 - version[copy]; changing[copy] = false }
}
inline announce(c) { d_step { count[c] = count[c] | WAITING; v = count[c]; announced[c] = true } }
inline sleepWhile(c, value) {
    d_step { if :: count[c] == value -> asleep[c] = true :: else fi }
    !asleep[c]
}
inline reload(c) { d_step { v = count[c]; spins++; assert(spins <= READERS + 1) } }
inline withdraw(c) { count[c] = count[c] & (WAITING - 1) }
inline waitUntilZero(c) {
    if
    :: count[c] == 0 /* the writer sees it while it spins */
    :: true ->
        announce(c);                            /* step: announce that the writer waits */
        do
        :: v == WAITING -> break
        :: else ->
            sleepWhile(c, v);                   /* step: sleep while the counter is unchanged */
            reload(c);                          /* step: read the counter again */
        od;
        atomic {
            withdraw(c);                        /* step: withdraw the announcement */
            announced[c] = false; v = 0; spins = 0
        }
    fi
}

active proctype Writer() {
    bit oldCopy = published;
    byte v;
    do
    ::  change(1 - oldCopy);                    /* step: change the unpublished copy */
        published = 1 - oldCopy;                /* step: publish it */
        waitUntilZero(counter(0, 1 - turn));    /* step: wait for readers with an old turn */
        waitUntilZero(counter(1, 1 - turn));    /* step: wait for those in the other stripe */
        turn = 1 - turn;                        /* step: direct new readers to the other counters */
        waitUntilZero(counter(0, 1 - turn));    /* step: wait for the readers of this turn */
        waitUntilZero(counter(1, 1 - turn));    /* step: wait for those of this turn in the other stripe */
        change(oldCopy);                        /* step: change the other copy */
progress:
        d_step { assert(version[0] == version[1]); oldCopy = published }
    od
}
