/**
 * \file morvex.h
 * \brief libmorvex: result files for any program, any number at once, from any thread.
 *
 * \par Example
 * \snippet read.c read
 *
 * \par Rules of every function
 * - It returns a #morvex_code, #MORVEX_OK (0) for success, throws nothing, never ends the process
 *   and writes nothing to standard streams. morvex_last_error() has the reason of the last failure
 *   of the calling thread.
 * - It may be called from any thread, several at once on one file included. morvex_close() waits for
 *   the calls that are under way.
 * - A handle that is NULL, closed or of another origin is refused with #MORVEX_BAD_HANDLE.
 * - Structs begin with `size`. Set it to sizeof of the struct before the call: it is how later
 *   releases know what the caller was compiled with. Use the `..._INIT` values. A size that no
 *   release had is #MORVEX_BAD_ARGUMENT.
 * - Answers go through pointers, none of which may be NULL unless that is said. After a failure they
 *   are unchanged, except for targets of reads, which hold unspecified values.
 * - Texts that a function returns belong to the file and are valid until it is closed.
 *
 * \anchor morvex_numbers
 * \par Numbers
 * Time sets, steps, variables, parts and components count from 0. Element types go from 0 to 33, each
 * even type followed by its ghost twin; morvex_ensg.h has their table. Nodes in #MORVEX_CONNECTIVITY
 * and border faces count from 1 within the part, as stored; cells (#MORVEX_CELL_CONNECTIVITY) count
 * from 0. Node and element ids count from 0, particle ids from 1: they are places, not the solver's
 * ids.
 *
 * \anchor morvex_steps
 * \par Steps
 * Geometry and particles have the steps of their time set, variables those of their own. Any step may
 * be asked for: what does not change has the same answer at every step. Where something does change, a
 * step beyond the last is #MORVEX_OUT_OF_RANGE. Where a variable and its geometry have different time
 * sets, the geometry's step is the last one that is not later than the variable's time.
 */
#ifndef MORVEX_H
#define MORVEX_H

#include <stddef.h>
#include <stdint.h>

/** Marks what the shared library exports. */
#if defined(__GNUC__)
#define MORVEX_API __attribute__((visibility("default")))
#else
#define MORVEX_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** Number of element types, ghosts included. */
#define MORVEX_ELEMENT_TYPES 34

/** An open result file. */
typedef struct morvex_file morvex_file;

/** What became of a call. Numbers never change; later releases may add some. */
typedef enum morvex_code {
  MORVEX_OK = 0,            /**< success */
  MORVEX_BAD_ARGUMENT = 1,  /**< a NULL pointer, a wrong struct size, an unknown kind or layout */
  MORVEX_BAD_HANDLE = 2,    /**< a file that is NULL, closed or none of this library's */
  MORVEX_OUT_OF_RANGE = 3,  /**< a step, part, type, variable or component that is not there */
  MORVEX_TOO_SMALL = 4,     /**< the capacity is less than the count; nothing was written */
  MORVEX_WRONG_KIND = 5,    /**< the question does not fit parts, types or variables of this kind */
  MORVEX_NOT_DEFINED = 6,   /**< the variable has no values on this part; nothing is wrong */
  MORVEX_CANCELLED = 7,     /**< a progress function ended the read before this array */
  MORVEX_CANNOT_OPEN = 8,   /**< the system refuses the file */
  MORVEX_NOT_A_RESULT = 9,  /**< the file is no result file, or its records are damaged */
  MORVEX_NEWER_FILE = 10,   /**< the file requires a later release of this library */
  MORVEX_NO_SUCH_DATA = 11, /**< the file does not have the dataset */
  MORVEX_DAMAGED = 12,      /**< a dataset, or one that it depends on, can't be decoded */
  MORVEX_AMBIGUOUS = 13,    /**< the file's precision patterns fit a name twice */
  MORVEX_TOO_LARGE = 14,    /**< more values than can be counted */
  MORVEX_OUT_OF_MEMORY = 15, /**< memory ran out */
  MORVEX_FILE_CHANGED = 16,  /**< the file on disk is no longer the one that was opened */
  MORVEX_INTERNAL = 17       /**< a failure of a class that is not expected */
} morvex_code;

/** \return the name of a code, for example "MORVEX_OK"; "?" for a number that is none */
MORVEX_API const char* morvex_code_name(morvex_code code);

/** The release of the library, for example "7.0.1". */
MORVEX_API const char* morvex_version(void);

/** A failure. */
typedef struct morvex_error {
  morvex_code code; /**< what became of the call */
  int32_t step;     /**< that was asked for; -1 where there is none */
  int32_t part;     /**< that was asked for; -1 where there is none */
  const char* path; /**< of the dataset that failed, "" where none is known */
  const char* text; /**< the reason in one line, fit for a dialog */
} morvex_error;

/**
 * The last failure of the calling thread.
 * \return never NULL; #MORVEX_OK and empty texts after a success. Valid until the thread's next call.
 */
MORVEX_API const morvex_error* morvex_last_error(void);

/**
 * \name Files
 * @{
 */

/** How urgent a message is. */
typedef enum morvex_level { MORVEX_WARNING = 0, MORVEX_ERROR = 1 } morvex_level;

/** Receives a message, one line without its end. Called by any thread, several at once. */
typedef void (*morvex_message)(void* user, morvex_level level, const char* text);

/** Options of morvex_open(). */
typedef struct morvex_open_options {
  uint64_t size;          /**< sizeof(morvex_open_options) */
  int32_t threads;        /**< most threads of a read; 0 for as many as processors */
  int32_t reserved;       /**< 0 */
  morvex_message message; /**< receives what the library has to say; NULL drops it */
  void* user;             /**< passed to `message` */
} morvex_open_options;

/** Initial value of morvex_open_options. */
#define MORVEX_OPEN_OPTIONS_INIT \
  { sizeof(morvex_open_options), 0, 0, NULL, NULL }

/**
 * Opens a result file and reads its metadata; no array is decoded.
 * \param path     in the encoding of the file system
 * \param options  NULL for the initial values
 * \param file     receives the handle; NULL after a failure
 * \return #MORVEX_CANNOT_OPEN with the system's reason, #MORVEX_NOT_A_RESULT, #MORVEX_NEWER_FILE
 */
MORVEX_API morvex_code morvex_open(const char* path, const morvex_open_options* options,
                                   morvex_file** file);

/**
 * Closes a file, after the calls of other threads on it have returned. Must not be called from a
 * callback of the same file. NULL is ignored.
 */
MORVEX_API morvex_code morvex_close(morvex_file* file);

/** @}
 * \name What is in a file
 * These functions decode nothing.
 * @{
 */

/** What changes over the steps of a geometry. */
typedef enum morvex_change {
  MORVEX_ABSENT = -1, /**< the file has no such geometry */
  MORVEX_STATIC = 0,  /**< nothing changes */
  MORVEX_COORDINATES_CHANGE = 1,
  MORVEX_CONNECTIVITY_CHANGES = 2 /**< everything may change, also the number of parts */
} morvex_change;

/** A geometry: the model, or the measured particles. */
typedef struct morvex_geometry {
  int32_t change;  /**< one of #morvex_change */
  int32_t timeset; /**< -1 for none */
  uint64_t steps;  /**< with an answer of their own, at least 1; 0 where the geometry is absent */
} morvex_geometry;

/** A file at a glance. */
typedef struct morvex_summary {
  uint64_t size;             /**< sizeof(morvex_summary) */
  const char* title;         /**< of the case, may be "" */
  uint64_t timesets;         /**< number of time sets */
  uint64_t parts;            /**< of the model's first step; no step has more */
  uint64_t variables;        /**< number of variables */
  morvex_geometry model;     /**< nodes, elements and blocks */
  morvex_geometry particles; /**< measured particles */
  uint32_t version[3];       /**< of the reader that the file requires: major, minor, patch */
  uint32_t reserved;         /**< 0 */
} morvex_summary;

/** Initial value of morvex_summary. */
#define MORVEX_SUMMARY_INIT \
  { sizeof(morvex_summary), NULL, 0, 0, 0, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}, 0 }

/**
 * A file at a glance.
 * \param file     an open file
 * \param summary  its `size` is set by the caller; texts in it belong to the file
 * \return #MORVEX_BAD_ARGUMENT for a size that no release had
 */
MORVEX_API morvex_code morvex_get_summary(morvex_file* file, morvex_summary* summary);

/**
 * The times of all steps of a time set.
 * \param file     an open file, to which the times belong
 * \param timeset  -1, no time set, has one step at time 0
 * \param values   receives the address of `count` times; may be NULL
 * \param count    number of steps
 * \return #MORVEX_OUT_OF_RANGE for a time set that is not there
 */
MORVEX_API morvex_code morvex_get_times(morvex_file* file, int32_t timeset, const float** values,
                                        uint64_t* count);

/** A part of the model at a step. */
typedef struct morvex_part {
  uint64_t size;                               /**< sizeof(morvex_part) */
  const char* name;                            /**< may be "" */
  int32_t id;                                  /**< the file's identifier */
  int32_t is_block;                            /**< 1 for a structured block, else 0 */
  uint64_t nodes;                              /**< number of nodes */
  uint64_t elements[MORVEX_ELEMENT_TYPES];     /**< number of elements, by type */
  uint64_t border_faces[MORVEX_ELEMENT_TYPES]; /**< number of border faces, by type */
  int32_t extents[4]; /**< of a block: nodes along i, j, k, and the stored fourth; else zeros */
} morvex_part;

/** Sets the size of a morvex_part and everything else to zero. */
#define MORVEX_PART_INIT                            \
  {                                                 \
    sizeof(morvex_part), NULL, 0, 0, 0, {0}, {0}, { \
      0                                             \
    }                                               \
  }

/**
 * A part of the model at a step.
 * \param file  an open file
 * \param step  any step of the model; those of a model that doesn't change have the same answer
 * \param part  from 0
 * \param info  its `size` is set by the caller; texts in it belong to the file
 * \return #MORVEX_OUT_OF_RANGE for a step or part that is not there
 */
MORVEX_API morvex_code morvex_get_part(morvex_file* file, int32_t step, int32_t part,
                                       morvex_part* info);

/** Number of parts of the model at a step. */
MORVEX_API morvex_code morvex_get_part_count(morvex_file* file, int32_t step, uint64_t* count);

/** Number of particles at a step; 0 in a file without particles. */
MORVEX_API morvex_code morvex_get_particle_count(morvex_file* file, int32_t step, uint64_t* count);

/**
 * The box around the model at a step.
 * \param file   an open file
 * \param step   any step of the model
 * \param box    xmin, ymin, zmin, xmax, ymax, zmax
 * \param given  0 where the file has no box of that step; `box` is then unchanged
 * \return #MORVEX_OUT_OF_RANGE for a step that is not there
 */
MORVEX_API morvex_code morvex_get_box(morvex_file* file, int32_t step, float box[6],
                                      int32_t* given);

/** Where a variable has its values. */
typedef enum morvex_location {
  MORVEX_PER_ELEMENT = 1, /**< one for each element of a type; for each node of a block */
  MORVEX_PER_NODE = 4     /**< one for each node or particle */
} morvex_location;

/** A variable. */
typedef struct morvex_variable {
  uint64_t size;              /**< sizeof(morvex_variable) */
  const char* name;           /**< names need not be distinct */
  const char* description;    /**< may be "" */
  const char* imaginary_name; /**< of a complex variable's imaginary part, may be "" */
  int32_t type;               /**< 1 scalar, 2 vector, 3 symmetric tensor, 4 tensor; else unknown */
  int32_t components;         /**< 1, 3, 6, 9 by type; 0 for an unknown one */
  int32_t location;           /**< one of #morvex_location, or unknown */
  int32_t is_complex;         /**< 1 if there is an imaginary part, else 0 */
  float frequency;            /**< of a complex variable, else 0 */
  int32_t is_constant;        /**< 1 for one number at each step and no arrays, else 0 */
  int32_t on_particles;       /**< 1 for the particles, 0 for the model */
  int32_t timeset;            /**< -1 for none */
  uint64_t steps;             /**< with values of their own, at least 1 */
} morvex_variable;

/** Sets the size of a morvex_variable and everything else to zero. */
#define MORVEX_VARIABLE_INIT \
  { sizeof(morvex_variable), NULL, NULL, NULL, 0, 0, 0, 0, 0, 0, 0, 0, 0 }

/**
 * A variable.
 * \param file      an open file
 * \param variable  from 0
 * \param info      its `size` is set by the caller; texts in it belong to the file
 * \return #MORVEX_OUT_OF_RANGE for a variable that is not there
 */
MORVEX_API morvex_code morvex_get_variable(morvex_file* file, int32_t variable,
                                           morvex_variable* info);

/** Number of the first variable of that name; #MORVEX_OUT_OF_RANGE without one. */
MORVEX_API morvex_code morvex_find_variable(morvex_file* file, const char* name, int32_t* variable);

/** Number of the first part of that name at a step; #MORVEX_OUT_OF_RANGE without one. */
MORVEX_API morvex_code morvex_find_part(morvex_file* file, int32_t step, const char* name,
                                        int32_t* part);

/**
 * \param type       of a variable
 * \param component  from 0
 * \return "x", "y", "z" of vectors; "xx", "yy", "zz", "xy", "xz", "yz" of symmetric tensors; "xx",
 *         "xy", ... row by row of tensors; "" for all else
 */
MORVEX_API const char* morvex_component_name(int32_t type, int32_t component);

/** \return nodes of an element of a type; -1 where they vary, 0 for a number that is no type */
MORVEX_API int32_t morvex_nodes_per_element(int32_t element_type);

/** The step of its geometry on which a variable has its values at one of its own steps. */
MORVEX_API morvex_code morvex_get_geometry_step(morvex_file* file, int32_t variable, int32_t step,
                                                int32_t* geometry_step);

/** The number of a constant at a step. */
MORVEX_API morvex_code morvex_get_constant(morvex_file* file, int32_t variable, int32_t step,
                                           float* value);

/** @}
 * \name Arrays
 * @{
 */

/** What an array holds, with the numbers of its request and the type of its values. */
typedef enum morvex_kind {
  MORVEX_COORDINATES = 0,  /**< float, 3 components of the nodes of a part; step, part */
  MORVEX_VARIABLE = 1,     /**< float; step, variable, part, element_type for values of elements */
  MORVEX_CONNECTIVITY = 2, /**< int32, from 1; step, part, element_type but 31 and 33 */
  MORVEX_NODES_PER_POLYGON = 3,     /**< int32, for each element of type 30; step, part */
  MORVEX_FACES_PER_POLYHEDRON = 4,  /**< int32, for each element of type 32; step, part */
  MORVEX_NODES_PER_FACE = 5,        /**< int32, for each face of the type 32; step, part */
  MORVEX_NODE_IDS = 6,              /**< int32, from 0; step, part */
  MORVEX_ELEMENT_IDS = 7,           /**< int32, from 0; step, part, element_type */
  MORVEX_BORDER_FACES = 8,          /**< int32, nodes from 1; step, part, element_type below 30 */
  MORVEX_BORDER_PARENT_IDS = 9,     /**< int32, as stored, one for each face */
  MORVEX_BORDER_PARENT_TYPES = 10,  /**< int16, element types, one for each face */
  MORVEX_PARTICLE_COORDINATES = 11, /**< float, 3 components of all particles; step */
  MORVEX_PARTICLE_IDS = 12,         /**< int32, from 1; step */
  /**
   * int64, for all cells of a part one after the other, type by type in rising order, without the
   * types 31 and 33, whose nodes no file has: where the nodes of a cell begin in
   * #MORVEX_CELL_CONNECTIVITY, and at the end where they all end. step, part
   */
  MORVEX_CELL_OFFSETS = 13,
  /** int64, from 0: the nodes of all cells, checked against the part's nodes. Of a polyhedron the nodes
   * of its faces, face by face. step, part */
  MORVEX_CELL_CONNECTIVITY = 14,
  MORVEX_CELL_TYPES = 15 /**< uint8, the element type of each cell; step, part */
} morvex_kind;

/** How components lie in a target. */
typedef enum morvex_layout {
  MORVEX_BY_COMPONENT = 0, /**< all values of the first component, then of the second, ... */
  MORVEX_INTERLEAVED = 1   /**< all components of the first node, then of the second, ... */
} morvex_layout;

/** All components of an array. */
#define MORVEX_ALL_COMPONENTS (-1)

/**
 * One array. Numbers that its kind does not name are ignored. A part that is a structured block has
 * coordinates, node ids and variables, all per node, and no cells of its own.
 */
typedef struct morvex_request {
  int32_t kind;         /**< one of #morvex_kind */
  int32_t step;         /**< of the geometry; for #MORVEX_VARIABLE of the variable */
  int32_t part;         /**< of the model; ignored for variables on particles */
  int32_t element_type; /**< ignored for values per node */
  int32_t variable;     /**< number of the variable */
  int32_t component;    /**< from 0, or #MORVEX_ALL_COMPONENTS */
  int32_t imaginary;    /**< not 0 for the imaginary part of a complex variable */
  int32_t layout;       /**< one of #morvex_layout; matters for all components alone */
  void* target;         /**< where the values go; may be NULL if there are none */
  uint64_t capacity;    /**< of the target, in values */
  uint64_t count;       /**< receives the number of values, also with #MORVEX_TOO_SMALL */
  int32_t code;         /**< receives a #morvex_code */
  int32_t reserved;     /**< 0 */
  uint64_t more[3];     /**< 0; room for later releases */
} morvex_request;

/** Sets everything to zero but `component`, which is #MORVEX_ALL_COMPONENTS. */
#define MORVEX_REQUEST_INIT                                         \
  {                                                                 \
    0, 0, 0, 0, 0, MORVEX_ALL_COMPONENTS, 0, 0, NULL, 0, 0, 0, 0, { \
      0, 0, 0                                                       \
    }                                                               \
  }

/**
 * Is told how far a read has come, by one thread at a time but not always the same. Must not call
 * functions with the same file.
 * \param user   of morvex_read_options
 * \param done   arrays that are finished
 * \param total  arrays of the read
 * \param bytes  delivered so far
 * \return 0 to go on; anything else ends the read before the next array
 */
typedef int32_t (*morvex_progress)(void* user, uint64_t done, uint64_t total, uint64_t bytes);

/** Is told of an array that failed. Called like #morvex_progress; `error` is valid during the call. */
typedef void (*morvex_failed)(void* user, uint64_t index, const morvex_error* error);

/** Options of morvex_read(). */
typedef struct morvex_read_options {
  uint64_t size;            /**< sizeof(morvex_read_options) */
  int32_t threads;          /**< most threads; 0 for the file's number */
  int32_t reserved;         /**< 0 */
  morvex_progress progress; /**< may be NULL */
  morvex_failed failed;     /**< may be NULL */
  void* user;               /**< passed to both */
} morvex_read_options;

/** Initial value of morvex_read_options. */
#define MORVEX_READ_OPTIONS_INIT \
  { sizeof(morvex_read_options), 0, 0, NULL, NULL, NULL }

/**
 * Reads arrays straight into the caller's memory. Each array has its own code: one that fails does
 * not affect the others. Threads share out the arrays, and the chunks of a large array; steps that
 * depend on each other stay together, so that each stored step is decoded once. The values have the
 * same bits for every number of threads and every order of requests.
 *
 * Targets may overlap: the values of which of the arrays they then hold is unspecified. Beside the
 * targets the library takes up to 1 MiB for each thread, one component of the array that is read
 * where components are interleaved, the tables that cells are made from, and up to 128 MiB for each
 * thread of stored steps that others of their series depend on, which stay for later reads.
 *
 * \param file      an open file
 * \param requests  `count` arrays; their `count` and `code` are written
 * \param count     number of requests
 * \param options   NULL for the initial values
 * \return #MORVEX_OK if all arrays were read, #MORVEX_CANCELLED if the progress function ended the
 *         read, else the code of the first array, in the order of the requests, that was not read
 */
MORVEX_API morvex_code morvex_read(morvex_file* file, morvex_request* requests, uint64_t count,
                                   const morvex_read_options* options);

/**
 * The size of an array; nothing is decoded.
 * \param file         an open file
 * \param request      `target`, `capacity`, `count` and `code` are ignored
 * \param count        number of values, all components together
 * \param value_bytes  bytes of a value; may be NULL
 * \return #MORVEX_OUT_OF_RANGE, #MORVEX_WRONG_KIND, #MORVEX_NOT_DEFINED, as reading it would
 */
MORVEX_API morvex_code morvex_get_size(morvex_file* file, const morvex_request* request,
                                       uint64_t* count, uint64_t* value_bytes);

/**
 * The smallest and the largest value of an array, which is decoded for it. Values that are no numbers
 * are left out; without any other the range is {0, -1}.
 * \param file     an open file
 * \param request  as for morvex_get_size()
 * \param range    minimum and maximum
 * \param invalid  number of values that are no numbers; may be NULL
 * \return as morvex_read()
 */
MORVEX_API morvex_code morvex_get_range(morvex_file* file, const morvex_request* request,
                                        double range[2], uint64_t* invalid);

/**
 * Whether the file has an array: a variable may have values on some steps, parts and element types
 * and none on others. Looks for its datasets and decodes nothing.
 * \param file     an open file
 * \param request  as for morvex_get_size()
 * \param answer   1 if all datasets of the array are there or it has no values to read, else 0
 * \return as morvex_get_size()
 */
MORVEX_API morvex_code morvex_has_array(morvex_file* file, const morvex_request* request,
                                        int32_t* answer);

/**
 * Path of a dataset that an array is read from, for messages and tools.
 * \param file      an open file
 * \param request   as for morvex_get_size()
 * \param index     from 0: one dataset for each component, then the tables of cells
 * \param path      receives the path with a zero; may be NULL with capacity 0
 * \param capacity  of `path`, in bytes
 * \param needed    bytes of the path with its zero
 * \return #MORVEX_OUT_OF_RANGE where the array has no more datasets
 */
MORVEX_API morvex_code morvex_get_path(morvex_file* file, const morvex_request* request,
                                       uint64_t index, char* path, uint64_t capacity,
                                       uint64_t* needed);

/**
 * Says that no geometry will be asked for in the near future: what reads of coordinates keep for each
 * other is dropped.
 */
MORVEX_API morvex_code morvex_finish_geometry(morvex_file* file);

/** @} */

#ifdef __cplusplus
}
#endif

#endif /* MORVEX_H */
