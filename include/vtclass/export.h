#ifndef VTCLASS_EXPORT_H
#define VTCLASS_EXPORT_H

/*
 * How a function of the library reaches its callers, and what may cross the DLL's border.
 *
 * VTCLASS_API marks what vtclass_mini.dll exports. Nothing else is exported: the checked-in list
 * tests/exports.txt is compared with the DLL's export table in every test run.
 *
 * The DLL and each of its clients carry a C++ run time of their own, with its own state of
 * exceptions and its own operator new, which a program may replace. Therefore:
 *
 *   1. No exception of the library crosses. An exported function ends by a result. Where an
 *      operation throws by contract, its header compiles it into the client, over an exported
 *      function that tells the failure; the throw happens on the client's side. Thrown and caught
 *      by two run times, an exception would leave std::uncaught_exceptions() of the client at -1
 *      for the rest of the thread. Two things are left to the library's side: a virtual
 *      operation of one of its classes that is called through a base class (PostIt of a
 *      ThreadStopCall), and an override's call of the operation that it overrides.
 *   2. No memory changes sides. A std::wstring or std::vector of the client is only read by the
 *      library; it is filled by a function of the client that the library calls
 *      (vtclass/border.h). Objects of the library that one side makes and the other deletes have
 *      an operator new and delete of their own, both of which end in the library. Classes that are
 *      derived from them inherit both, or define both.
 *   3. What a client's code throws while the library calls it ends on the client's side wherever
 *      the headers promise that it ends: in calls of worker threads and in callbacks. Elsewhere
 *      (virtual operations other than Execute and ThreadExecute, destructors) the client's code
 *      lets no exception out: one that the library has to end stays counted in the client's run
 *      time, on that thread, as uncaught.
 *
 * VTCLASS_CLIENT marks such functions and members: an inline function of each client, and an
 * ordinary function, which is not exported, inside the DLL. Their client's half stands in
 * vtclass/client/.
 *
 * VTCLASS_API_TYPE marks a class with virtual functions whose members are exported one by one.
 * VTCLASS_INTERFACE_TYPE marks one that adds nothing but pure functions to its base, and is
 * compiled into its clients: so that no object ever has its table of functions, not even while it
 * is destroyed (below, where that holds).
 *
 * The classes hold standard library types, which the library reads in a client's objects: a caller
 * must be built with the same compiler family and the same standard library as the DLL.
 */
#if defined(_MSC_VER)
/* What that says is known: classes hold and are derived from types that the library does not
 * export. Clients read the same warnings at their own derived and exported classes, therefore this
 * stays. */
#pragma warning(disable : 4251 4275)
#endif

#if defined(VTCLASS_MINI_BUILD)
#define VTCLASS_API __declspec(dllexport)
#define VTCLASS_CLIENT
#define VTCLASS_API_TYPE
#else
#define VTCLASS_API __declspec(dllimport)
#define VTCLASS_CLIENT inline
#if defined(_MSC_VER)
#define VTCLASS_API_TYPE
#else
/* A type description is a symbol there; this has the client make its own. */
#define VTCLASS_API_TYPE __declspec(dllimport)
#endif
#endif

#if defined(_MSC_VER)
#define VTCLASS_INTERFACE_TYPE __declspec(novtable)
#else
/* There is no such attribute. Clang leaves the table alone in a destructor that does nothing. GCC
 * stores it, and its optimiser drops that store when the base's destructor, which is inline, stores
 * its own at once; in an unoptimised build by GCC the object has the table for a moment. */
#define VTCLASS_INTERFACE_TYPE
#endif

#endif
