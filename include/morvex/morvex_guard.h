/**
 * \file morvex_guard.h
 * \brief The host interface for callers that can't catch C++ exceptions: libmorvex-guard.
 *
 * The functions of morvex_ensg.h, behind a door. Each mxg_ function asks the export of the same
 * name, after it has checked what the caller passes: that a file is open, that steps, parts,
 * variables and element types exist, that pointers are there and that buffers are large enough. No
 * exception ever leaves a function.
 *
 * Codes. Every function returns an mxg_code, MXG_OK (0) for success. What went wrong is told by
 * mxg_last_error, for each thread apart. After any failure the session goes on.
 *
 * Answers go through pointers, none of which may be NULL unless it is said. A buffer comes with its
 * capacity, counted in elements for numbers and in bytes for texts, and with a `count` that takes
 * the number of elements the answer has. Where the capacity is too small nothing is written but the
 * count, and the code is MXG_BUFFER_TOO_SMALL. A NULL buffer with capacity 0 asks for the count
 * alone, which decodes nothing and succeeds. After a failed read a buffer holds unspecified values;
 * elements behind the count are never touched.
 *
 * Numbering is that of morvex_ensg.h: parts, steps, variables and components count from 0, element
 * types go from 0 to 33. A step is one of the geometry's own: where nothing but coordinates
 * changes, all other questions have the same answer at each step.
 *
 * Threads. The process has one session. Calls from several threads are served one after the other;
 * a call from within a progress function is refused with MXG_BUSY and leaves the last error as it
 * is. Don't call the functions of morvex_ensg.h beside these.
 */
#ifndef MORVEX_GUARD_H
#define MORVEX_GUARD_H

#include <stdint.h>

#if defined(__GNUC__)
#define MXG_EXPORT __attribute__((visibility("default")))
#else
#define MXG_EXPORT
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** Number of element types. */
#define MXG_ELEMENT_TYPES 34

/** Bytes of the texts in mxg_error, the zero at their end included. */
#define MXG_TEXT_SIZE 1024

/** What became of a call. The numbers never change; new ones may come behind the last. */
typedef enum mxg_code {
  MXG_OK = 0,               /**< all is well */
  MXG_NO_SESSION = 1,       /**< no file is open */
  MXG_BUSY = 2,             /**< called from within a progress function; leaves no error */
  MXG_NULL_POINTER = 3,     /**< a pointer that must be there is NULL */
  MXG_OUT_OF_RANGE = 4,     /**< the caller's step, part, variable, type or other number */
  MXG_BUFFER_TOO_SMALL = 5, /**< the count tells how large it must be */
  MXG_WRONG_KIND = 6,       /**< the question is not for parts, types or data of this kind */
  MXG_NOT_DEFINED = 7,      /**< the variable has no values on this part; nothing is wrong */
  MXG_REFUSED = 8,          /**< the library refuses; its message log tells why */
  MXG_CANCELLED = 9,        /**< a progress function has ended the walk */
  MXG_CANNOT_OPEN = 10,     /**< no result file; the message log tells why */
  MXG_NO_SUCH_DATA = 11,    /**< the file does not have the geometry or dataset */
  MXG_NOT_DECODED = 12,     /**< a dataset is damaged, or its threads ran out of memory */
  MXG_DAMAGED_DATA = 13,    /**< a dataset is damaged */
  MXG_DAMAGED_RECORD = 14,  /**< records, recipes or tables of the file don't fit together */
  MXG_AMBIGUOUS = 15,       /**< the file's precision patterns name a variable twice */
  MXG_TOO_LARGE = 16,       /**< more elements than the interface can count */
  MXG_OUT_OF_MEMORY = 17,   /**< memory ran out */
  MXG_UNKNOWN = 18          /**< a failure of a class that is not known here */
} mxg_code;

/** The last failure of a thread. */
typedef struct mxg_error {
  mxg_code code;               /**< MXG_OK after a success; the texts are empty then */
  int32_t step;                /**< the step that was asked for; -1 where there is none */
  int32_t part;                /**< the part that was asked for; -1 where there is none */
  char dataset[MXG_TEXT_SIZE]; /**< path of the dataset that failed; empty where none is known */
  char text[MXG_TEXT_SIZE];    /**< the reason in one line; longer texts are cut */
} mxg_error;

/** A part at a step. */
typedef struct mxg_part {
  int32_t id;                           /**< identifier */
  int32_t type;                         /**< 0 unstructured, else a structured block */
  uint64_t nodes;                       /**< number of nodes */
  uint64_t elements[MXG_ELEMENT_TYPES]; /**< number of elements, by type */
  int32_t extents[4];                   /**< of a block; else zeros */
  uint64_t name_size;                   /**< bytes of the name with its zero */
} mxg_part;

/** A variable. */
typedef struct mxg_variable {
  int32_t type;          /**< 1 scalar, 2 vector, 3 symmetric tensor, 4 tensor */
  int32_t location;      /**< 4 values per node, 1 values per element */
  int32_t is_complex;    /**< 0 or not 0 */
  float frequency;       /**< of a complex variable, else 0 */
  int32_t is_constant;   /**< 1 for one number at each step instead of arrays, else 0 */
  int32_t has_time;      /**< of a constant: 1 if it has a time set, else 0; of all others 1 */
  int32_t timeset;       /**< index of the time set; 0 where there is none */
  int32_t geometry;      /**< MXG_MODEL or MXG_PARTICLES */
  uint64_t text_size[3]; /**< bytes of each mxg_text with its zero */
} mxg_variable;

/** The geometries. */
enum { MXG_MODEL = 0, MXG_PARTICLES = 1 };

/** What changes over the steps of a geometry. */
enum { MXG_STATIC = 0, MXG_COORDINATES_CHANGE = 1, MXG_CONNECTIVITY_CHANGES = 2 };

/** The texts of a variable. */
typedef enum mxg_text { MXG_NAME = 0, MXG_DESCRIPTION = 1, MXG_IMAGINARY_NAME = 2 } mxg_text;

/**
 * \name Failures and walks; these need no session
 * @{
 */

/**
 * What became of the last call of this thread; this function and mxg_code_name don't count.
 * \return never NULL; the library's memory, which the thread's next call overwrites
 */
MXG_EXPORT const mxg_error* mxg_last_error(void);

/** \return the name of a code, for example "MXG_OK"; "?" for a number that is none */
MXG_EXPORT const char* mxg_code_name(mxg_code code);

/**
 * Is told how far a walk has come, on the thread that walks. Must return and must not ask the
 * library.
 * \param user   what mxg_begin_walk was given
 * \param done   arrays that have been asked for
 * \param total  what mxg_begin_walk was given
 * \param bytes  values delivered so far
 * \return 0 to go on; anything else cancels
 */
typedef int32_t (*mxg_progress)(void* user, uint64_t done, uint64_t total, uint64_t bytes);

/**
 * Begins a walk: until mxg_end_walk the progress function is called after each function that reads
 * arrays, and once at once. When it cancels, these functions answer MXG_CANCELLED and read nothing,
 * until mxg_end_walk. A walk takes the place of an earlier one; opening and closing files leaves
 * it. \param total  how many arrays will be asked for, as far as the caller knows; only passed on
 * \param user   passed on; may be NULL
 * \return MXG_CANCELLED if the function cancels at once
 */
MXG_EXPORT mxg_code mxg_begin_walk(uint64_t total, mxg_progress progress, void* user);

/** Ends a walk, if there is one. \return MXG_CANCELLED if it was cancelled */
MXG_EXPORT mxg_code mxg_end_walk(void);

/** @}
 * \name Session
 * @{
 */

/**
 * Opens a result file. An open file is closed first.
 * \param path        in the encoding of the file system
 * \param host_value  kept and not interpreted
 */
MXG_EXPORT mxg_code mxg_open_file(const char* path, uint64_t host_value);

/** Closes the file; MXG_NO_SESSION if there is none. */
MXG_EXPORT mxg_code mxg_exit(void);

/** Sets the number of threads for all later reads; at least 1. Needs no session. */
MXG_EXPORT mxg_code mxg_set_number_of_omp_threads(int32_t threads);

/** The library's release, for example "7.0.1", with a zero. Capacity in bytes. Needs no session. */
MXG_EXPORT mxg_code mxg_get_reader_release(char* text, uint64_t capacity, uint64_t* count);

/**
 * Path of a dataset that the session's last reading function has asked for, with a zero. Functions
 * with several buffers ask for one dataset each, in their order.
 * \param index     which of them
 * \param capacity  in bytes
 */
MXG_EXPORT mxg_code mxg_get_dataset_path(uint64_t index, char* text, uint64_t capacity,
                                         uint64_t* count);

/** @}
 * \name Time
 * @{
 */

MXG_EXPORT mxg_code mxg_get_number_of_timesets(uint64_t* count);

/** What changes over the steps of MXG_MODEL or MXG_PARTICLES; MXG_NO_SUCH_DATA without it. */
MXG_EXPORT mxg_code mxg_get_geometry_adaptivity_type(int32_t geometry, int32_t* type);

/** Index of the time set of the model. */
MXG_EXPORT mxg_code mxg_get_model_geo_timeset(int32_t* timeset);

/** Index of the time set of the particles. */
MXG_EXPORT mxg_code mxg_get_measured_geo_timeset(int32_t* timeset);

/** Steps of a time set; a file without time sets has one, 0, with one step. */
MXG_EXPORT mxg_code mxg_get_number_of_timesteps(int32_t timeset, uint64_t* count);

/** The times of all steps of a time set. */
MXG_EXPORT mxg_code mxg_get_timesteps_values(int32_t timeset, float* values, uint64_t capacity,
                                             uint64_t* count);

/** @}
 * \name Parts
 * @{
 */

/** 1: ids of elements are always to be had. */
MXG_EXPORT mxg_code mxg_has_element_ids(int32_t* answer);

/** 1: ids of nodes are always to be had. */
MXG_EXPORT mxg_code mxg_has_node_ids(int32_t* answer);

/** Parts of the model in its first state; none has more. */
MXG_EXPORT mxg_code mxg_get_number_of_parts(uint64_t* count);

/** The parts of the model at a step. */
MXG_EXPORT mxg_code mxg_get_part_information(int32_t step, mxg_part* parts, uint64_t capacity,
                                             uint64_t* count);

/** The name of a part, with a zero. Capacity in bytes. */
MXG_EXPORT mxg_code mxg_get_part_name(int32_t step, int32_t part, char* text, uint64_t capacity,
                                      uint64_t* count);

/** Ids of the nodes of a part. */
MXG_EXPORT mxg_code mxg_get_part_node_ids(int32_t step, int32_t part, int32_t* ids,
                                          uint64_t capacity, uint64_t* count);

/** Ids of the elements of a type. */
MXG_EXPORT mxg_code mxg_get_part_element_ids(int32_t step, int32_t part, int32_t element_type,
                                             int32_t* ids, uint64_t capacity, uint64_t* count);

/** The box around the model: 6 floats, always xmin, ymin, zmin, xmax, ymax, zmax. */
MXG_EXPORT mxg_code mxg_get_bounding_box(int32_t step, float* box, uint64_t capacity,
                                         uint64_t* count);

/** Says that no geometry will be asked for in the near future. */
MXG_EXPORT mxg_code mxg_finished_geometry_processing(void);

/** @}
 * \name Coordinates and connectivity
 * @{
 */

/** Coordinates of the nodes of an unstructured part; each buffer has the capacity. */
MXG_EXPORT mxg_code mxg_get_part_coordinates(int32_t step, int32_t part, float* x, float* y,
                                             float* z, uint64_t capacity, uint64_t* count);

/** The same for a structured block. */
MXG_EXPORT mxg_code mxg_get_block_structured_coordinates(int32_t step, int32_t block, float* x,
                                                         float* y, float* z, uint64_t capacity,
                                                         uint64_t* count);

/** Blanking of a block is not delivered: MXG_REFUSED, with count 0. */
MXG_EXPORT mxg_code mxg_get_block_iblanking(int32_t step, int32_t block, int32_t* values,
                                            uint64_t capacity, uint64_t* count);

/** Nodes of all elements of a type from 0 to 29, element by element. */
MXG_EXPORT mxg_code mxg_get_element_connectivity(int32_t step, int32_t part, int32_t element_type,
                                                 int32_t* nodes, uint64_t capacity,
                                                 uint64_t* count);

/** For each n-sided element its number of nodes. */
MXG_EXPORT mxg_code mxg_get_nsided_number_of_nodes_per_face(int32_t step, int32_t part,
                                                            int32_t* values, uint64_t capacity,
                                                            uint64_t* count);

/** Entries of mxg_get_nsided_connectivity. */
MXG_EXPORT mxg_code mxg_get_data_size_for_nsided_connectivity(int32_t step, int32_t part,
                                                              uint64_t* count);

/** Nodes of all n-sided elements. */
MXG_EXPORT mxg_code mxg_get_nsided_connectivity(int32_t step, int32_t part, int32_t* nodes,
                                                uint64_t capacity, uint64_t* count);

/** For each n-faced element its number of faces. */
MXG_EXPORT mxg_code mxg_get_nfaced_number_of_faces_per_element(int32_t step, int32_t part,
                                                               int32_t* values, uint64_t capacity,
                                                               uint64_t* count);

/** Entries of mxg_get_nfaced_nodes_per_face. */
MXG_EXPORT mxg_code mxg_get_data_size_for_nfaced_nodes_per_face(int32_t step, int32_t part,
                                                                uint64_t* count);

/** For each face of the n-faced elements its number of nodes. */
MXG_EXPORT mxg_code mxg_get_nfaced_nodes_per_face(int32_t step, int32_t part, int32_t* values,
                                                  uint64_t capacity, uint64_t* count);

/** Entries of mxg_get_nfaced_connectivity. */
MXG_EXPORT mxg_code mxg_get_data_size_for_nfaced_connectivity(int32_t step, int32_t part,
                                                              uint64_t* count);

/** Nodes of all faces of the n-faced elements. */
MXG_EXPORT mxg_code mxg_get_nfaced_connectivity(int32_t step, int32_t part, int32_t* nodes,
                                                uint64_t capacity, uint64_t* count);

/** Numbers of border faces of a part, for each of the MXG_ELEMENT_TYPES types. */
MXG_EXPORT mxg_code mxg_has_border_faces(int32_t step, int32_t part, uint64_t* faces,
                                         uint64_t capacity, uint64_t* count);

/**
 * Border faces of a type from 0 to 29, and the elements that they belong to.
 * \param nodes           faces x nodes per face
 * \param nodes_capacity  of `nodes`
 * \param nodes_count     entries of `nodes`
 * \param parent_ids      one for each face
 * \param parent_types    element type of the parent, one for each face
 * \param faces_capacity  of each of the two
 * \param faces_count     number of faces
 */
MXG_EXPORT mxg_code mxg_get_border_faces_conn_by_type(
    int32_t step, int32_t part, int32_t element_type, int32_t* nodes, uint64_t nodes_capacity,
    uint64_t* nodes_count, int32_t* parent_ids, int16_t* parent_types, uint64_t faces_capacity,
    uint64_t* faces_count);

/** @}
 * \name Measured particles
 * @{
 */

/** 1 if the file has measured particles, else 0. */
MXG_EXPORT mxg_code mxg_has_measured_geometry(int32_t* answer);

/** Particles at a step of their time set. */
MXG_EXPORT mxg_code mxg_get_number_of_measured_particles(int32_t step, uint64_t* count);

/** Ids of particles, counted from 1. */
MXG_EXPORT mxg_code mxg_get_measured_particle_ids(int32_t step, int32_t* ids, uint64_t capacity,
                                                  uint64_t* count);

/** Coordinates of particles; each buffer has the capacity. */
MXG_EXPORT mxg_code mxg_get_measured_particle_coordinates(int32_t step, float* x, float* y,
                                                          float* z, uint64_t capacity,
                                                          uint64_t* count);

/** @}
 * \name Variables
 * @{
 */

MXG_EXPORT mxg_code mxg_get_number_of_variables(uint64_t* count);

/** MXG_MODEL or MXG_PARTICLES. */
MXG_EXPORT mxg_code mxg_get_variable_geo_type(int32_t variable, int32_t* geometry);

/** The variables. */
MXG_EXPORT mxg_code mxg_get_variable_information(mxg_variable* variables, uint64_t capacity,
                                                 uint64_t* count);

/** A text of a variable, with a zero. Capacity in bytes. */
MXG_EXPORT mxg_code mxg_get_variable_text(int32_t variable, mxg_text which, char* text,
                                          uint64_t capacity, uint64_t* count);

/**
 * One component of a variable on a part.
 * \param step           step of the variable's time set
 * \param geometry_step  step of its geometry at which the part is meant
 * \param part           part; 0 for a variable of the particles
 * \param element_type   for values per element; else of no meaning
 * \param imaginary      not 0 for the imaginary part of a complex variable
 * \param component      component, from 0
 * \param values         one for each node of the part, or for each element of the type
 * \return MXG_NOT_DEFINED, with count 0, if the variable is not defined on the part. Asking for the
 *         count alone does not find that out.
 */
MXG_EXPORT mxg_code mxg_get_variable_by_component(int32_t step, int32_t geometry_step,
                                                  int32_t variable, int32_t part,
                                                  int32_t element_type, int32_t imaginary,
                                                  int32_t component, float* values,
                                                  uint64_t capacity, uint64_t* count);

/** The value of a constant at a step; both parts receive the same number. */
MXG_EXPORT mxg_code mxg_get_constant_value(int32_t step, int32_t variable, float* real,
                                           float* imaginary);

/** @} */

#ifdef __cplusplus
}
#endif

#endif /* MORVEX_GUARD_H */
