/* The publication of multi-step changes (PathSeqLock), and the lookups and listings that do not lock the
 * mutex of the file system.
 *
 * The tree: the root has the places D and E for one folder each, and each folder has a place for one file.
 * The writer holds the mutex of the file system all the time and makes any changes. Each folder that it
 * creates or moves is a new node. Other threads see a published change when its publication ends; a file is
 * added or removed in one step. One reader is enough: readers change no data that others read, and lock the
 * mutex of a folder without waiting for anything. A change that finds the mutex of one of its folders locked
 * ends its publication without a step; its next attempt is another change.
 *
 * Safety: the result of a lookup or listing was correct at one moment between its start and its end. No
 * thread sleeps forever, waits twice for one change, or waits for a change that does not concern its path.
 * The writer never waits for a mutex that a listing holds while it copies.
 *
 * The folder map is one step here; LeftRightMap.pml models it. The publication consists of acquire loads and
 * release stores. A reader that sees a later value of one variable also sees all earlier stores. So its view
 * is an interleaving of these steps.
 */

#define CHANGES 2

#define NONE 0          /* no node */
#define ROOT 1
#define NODES (CHANGES + 4) /* NONE, ROOT, two initial folders, and one per change */

/* Places of folders, and two paths elsewhere. */
#define D 0
#define E 1
#define U 2
#define V 3

/* The tree between two steps. */
byte map[2];            /* the folder map: the node at D, at E */
byte child[2];          /* the root's children: the node at D, at E */
bool file[NODES];       /* whether a folder has its file */
bool locked[NODES];     /* the mutexes of the folders */
bool copying[NODES];    /* whether a listing copies under that mutex; for the assertions only */

/* The publication. */
byte seq;
byte source;
byte target;
bool asleep;            /* whether the reader sleeps until the number changes */

/* State for the assertions only: the tree that other threads see, and the permitted answers, one bit each. */
bool isFolder[2];
bool hasFile[2];
byte possible;

mtype = { entryInRoot, entryInFolder, listRoot, listFolder };
mtype question;
byte asked;             /* D or E */

/* The answers: whether the entry exists; which folders are in the root; 0 for no folder, 1 for an empty
 * folder, 2 for a folder with its file. */
inline notePossible() {
    if
    :: question == entryInRoot -> possible = possible | (1 << isFolder[asked])
    :: question == entryInFolder -> possible = possible | (1 << hasFile[asked])
    :: question == listRoot -> possible = possible | (1 << (isFolder[D] + 2 * isFolder[E]))
    :: question == listFolder -> possible = possible | (1 << (isFolder[asked] + hasFile[asked]))
    :: else /* the reader has not started or has ended */
    fi
}

inline lock(mutex) { atomic { !locked[mutex] -> locked[mutex] = true } }
inline unlock(mutex) { locked[mutex] = false }

#define isAsked(p) ((p) < 2 && ((p) == asked || question == listRoot))
#define nodeInMap (question == entryInRoot || question == listRoot -> ROOT : map[asked])

/* Sets `change` to the number of the change to wait for; 0 for none. */
inline findConflict() {
    s = seq;                                    /* step: read whether a change is under way */
    if
    :: s % 2 == 0
    :: else ->
        from = source;                          /* step: read the source */
        to = target;                            /* step: read the target */
        change = (isAsked(from) || isAsked(to) -> s : 0)
    fi;
    d_step { s = 0; from = 0; to = 0 }
}

inline waitFor() {
    d_step {
        assert(change != waited);
        assert(seq != change || isAsked(source) || isAsked(target));
        waited = change
    }
    if
    :: seq != change /* the reader sees it while it spins */
    :: true ->
        d_step { if :: seq == change -> asleep = true :: else fi } /* step: sleep until the change ends */
        !asleep
    fi
}

inline readAnswer() {
    d_step {
        if
        :: question == entryInRoot -> answer = (child[asked] != NONE); assert(child[asked] == map[asked])
        :: question == entryInFolder -> answer = file[node]
        :: question == listRoot -> answer = (child[D] != NONE) + 2 * (child[E] != NONE)
        :: question == listFolder -> answer = 1 + file[node]
        fi
    }
}

proctype Reader() {
    byte s;
    byte from;
    byte to;
    byte change;
    byte waited;
    byte start;
    byte node;
    byte found;
    byte answer;
    atomic {
        if
        :: question = entryInRoot
        :: question = entryInFolder
        :: question = listRoot
        :: question = listFolder
        fi;
        if :: asked = D :: question != listRoot -> asked = E fi;
        notePossible()
    }
again:
    change = 0;
    start = seq;
    node = nodeInMap;                           /* step: look the folder up */
    if
    :: node == NONE ->
        findConflict();                         /* step: check for a change that hides the folder */
        if
        :: change != 0 -> waitFor(); goto again
        :: else
        fi;
        found = start;
        found = seq;                            /* step: check whether a change ran since the start */
        if :: found != start -> goto again :: else fi
    :: else ->
        lock(node);                             /* step: lock the folder */
        findConflict();                         /* step: check for a conflict; before: repeat the lookup */
        found = node;
        found = nodeInMap;                      /* step: repeat the lookup */
        if
        :: change != 0 -> unlock(node); waitFor(); goto again
        :: change == 0 && question == listFolder && found != node -> unlock(node); goto again
        :: else
        fi;
        copying[node] = (question == listRoot || question == listFolder);
        readAnswer();
        copying[node] = false;
        unlock(node);                           /* step: unlock the folder */
    fi;
    atomic {
        assert(possible & (1 << answer));
        question = 0; asked = 0; possible = 0
    }
}

inline setChild(place, value) {
    assert(!copying[ROOT]);
    lock(ROOT);                                 /* step: lock the parent of an added or removed folder */
    /* If a place already has a folder, that folder stays, here and in the map. */
    if
    :: value == NONE || child[place] == NONE ->
        child[place] = value                    /* step: change the parent's children */
    :: else
    fi;
    unlock(ROOT)
}
inline setFile(folder, value) {
    assert(!copying[folder]);
    lock(folder);                               /* step: lock the folder of an added or removed file */
    file[folder] = value;                       /* step: change the folder's children */
    unlock(folder)
}

inline insert(place) { map[place] = (map[place] == NONE -> new : map[place]) }

inline publish() {
    source = from;                              /* step: publish the source; before: publish the change */
    target = to;                                /* step: publish the target; before: publish the change */
    seq = seq + 1;                              /* step: publish the change; before: try the parent's mutex */
}
inline endPublication() {
    d_step {
        seq = seq + 1;
        if
        :: kind == move ->
            isFolder[to] = true; hasFile[to] = hasFile[from]; isFolder[from] = false; hasFile[from] = false
        :: kind == addFolder -> isFolder[from] = true
        :: kind == removeFolder -> isFolder[from] = false
        :: else
        fi;
        notePossible()
    }
}
inline wakeAll() { asleep = false }

mtype = { move, addFolder, removeFolder, changeFile, moveElsewhere };

inline choose() {
    if :: from = D; to = E :: from = E; to = D fi;
    if
    :: isFolder[from] && !hasFile[to] -> kind = move
    :: !isFolder[from] -> kind = addFolder; to = from
    :: isFolder[from] && !hasFile[from] -> kind = removeFolder; to = from
    :: isFolder[from] -> kind = changeFile
    :: from == D -> kind = moveElsewhere; from = U; to = V
    fi
}

active proctype Writer() {
    byte nodes = 2; /* the next node */
    byte changes;
    byte from;
    byte to;
    byte new;
    byte old;
    bool busy;
    mtype kind;
    atomic {
        map[D] = nodes; child[D] = nodes; isFolder[D] = true; nodes++;
        if :: file[map[D]] = true; hasFile[D] = true :: true fi;
        if :: map[E] = nodes; child[E] = nodes; isFolder[E] = true; nodes++ :: true fi;
        run Reader()
    }
    do
    :: changes == CHANGES -> break
    :: changes < CHANGES ->
        atomic { changes++; choose(); new = nodes; nodes++ }
        if
        :: kind == changeFile ->
            old = map[from];
            atomic {
                !locked[old] -> file[old] = !file[old];
                hasFile[from] = file[old]; notePossible()
            }
        :: else ->
            busy = false;
            publish();
            busy = locked[ROOT];                /* step: try the parent's mutex */
            busy = busy || (kind == move && locked[map[from]]); /* step: try the moved folder's mutex */
            if :: busy -> kind = moveElsewhere :: else fi; /* none of its steps */
            if
            :: kind == addFolder ->
                setChild(from, new);
                insert(from)                    /* step: insert a new folder into the map */
            :: kind == removeFolder ->
                setChild(from, NONE);
                map[from] = NONE                /* step: remove a removed folder from the map */
            :: kind == move ->
                if
                :: child[to] != NONE ->
                    setChild(to, NONE);         /* step: remove a replaced folder from its parent */
                    map[to] = NONE              /* step: remove a replaced folder from the map */
                :: else
                fi;
                setChild(to, new);
                insert(to);                     /* step: insert the moved folder into the map */
                old = map[from];
                if :: file[old] -> setFile(old, false); setFile(new, true) :: else fi;
                setChild(from, NONE);
                map[from] = NONE                /* step: remove the moved folder's old path from the map */
            :: kind == moveElsewhere
            fi;
            endPublication();                   /* step: end the publication; before: wake the waiting reader */
            wakeAll();                          /* step: wake the waiting reader */
        fi;
        d_step { from = 0; to = 0; new = 0; old = 0; kind = 0 }
    od
}
