# The messages between a client and its engine.
#
# Two sockets join the two: on the first the client calls the engine, on the second the engine's jobs call the client. Both
# carry frames of the one kind below. A frame that waits for an answer has a number that its reply repeats; while one side
# waits, it serves the calls that the other makes on the same socket.

@0xd1c2a3f0b7e64f19;

using Cxx = import "/capnp/c++.capnp";
$Cxx.namespace("transport::wire");

# A counted text of 16-bit units in the sender's byte order (both ends run on one machine). A long text doesn't stand
# in the frame: it follows it on the socket, in the order of the frame's texts.
struct Text {
    union {
        none @0 :Void;       # no text at all, other than an empty one
        units @1 :Data;      # two bytes a unit
        following @2 :UInt32; # the number of units that follow the frame
    }
}

struct Frame {
    number @0 :UInt32;
    object @1 :UInt32; # whose method is called: the engine is 0, the client's callback objects are numbered from 1

    union {
        # An answer.
        reply @2 :Reply;

        # The opening call of a connection.
        hello @3 :Hello;

        # The sender has dropped its last reference to the object; no answer follows.
        release @4 :Void;

        # IKeldaEngine, in its order.
        startAnalysis @5 :StartAnalysis;
        abortAnalysis @6 :AbortAnalysis;
        isAlive @7 :Int32;
        sendCosimPortData @8 :Text;
        sendCosimSourceData @9 :Text;

        # IKeldaProgressInterface, in its order.
        progressUpdate @10 :Float64;
        analysisDone @11 :Int32;
        postOrvaneMessage @12 :Text;
        bounceOrvaneMessage @13 :Text;
        putCosimPortData @14 :Text;

        # IKeldaSolutionInterface, in its order.
        getFieldSolverData @15 :FieldSolverRequest;
        getNetlistSolverData @16 :NetlistRequest;
    }
}

struct Reply {
    result @0 :Int32;  # the HRESULT
    value @1 :Int32;   # the method's [out] number
    text @2 :Text;     # the method's [in, out] text; of PutCosimPortData a source block that the client delivered within it
    ending @3 :Bool;   # the engine process ends with this answer; the client is to close the connection
}

struct Hello {
    protocol @0 :UInt32;       # must be equal on both sides
    previousJob @1 :Int32;     # the handle that the client's last engine gave out last, 0 if none
}

struct StartAnalysis {
    progress @0 :UInt32;       # the number of the callback object, 0 for null
    solution @1 :UInt32;
    filename @2 :Text;
    projectpath @3 :Text;
}

struct AbortAnalysis {
    procid @0 :Int32;
    savestate @1 :Int32;
}

struct FieldSolverRequest {
    designName @0 :Text;
    compInstID @1 :Text;
    solnType @2 :Text;
    solnFlag @3 :Text;
    paramValues @4 :Text;
    freqValues @5 :Text;
    netwData @6 :Text;
}

struct NetlistRequest {
    designName @0 :Text;
    compInstID @1 :Text;
    paramValues @2 :Text;
    netlistData @3 :Text;
}
