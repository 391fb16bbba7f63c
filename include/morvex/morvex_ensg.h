/**
 * \file morvex_ensg.h
 * \brief Host interface of libmorvex-ensg: reads one compressed finite-element result file.
 *
 * How to use it: open a file with MX_openFile, ask, end with MX_exit. One file is open at a time
 * and all functions are called from one thread. Geometry first, then MX_finishedGeometryProcessing,
 * then variables step by step is the order that the library is made for; any other works as well.
 *
 * Numbering. Parts, blocks, time steps, variables and components count from 0. Node numbers in
 * connectivity stand as the file stores them, which is in the numbering that hosts of this
 * interface expect. Element types are numbers from 0 to 33, in pairs of a type and its ghost twin
 * (the following odd number, same shape):
 *
 *     0 point             1 node      14 tetrahedron    4 nodes     26 hexahedron   8 nodes
 *     2 bar               2 nodes     16 tetrahedron   10 nodes     28 hexahedron  20 nodes
 *     4 bar               3 nodes     18 pyramid        5 nodes     30 n-sided
 *     6 triangle          3 nodes     20 pyramid       13 nodes     32 n-faced
 *     8 triangle          6 nodes     22 pentahedron    6 nodes
 *    10 quadrilateral     4 nodes     24 pentahedron   15 nodes
 *    12 quadrilateral     8 nodes
 *
 * The step argument. `timestep` picks the state of a geometry: a geometry of adaptivity type 0
 * (static) has the state 0 alone; one of type 1 (coordinates change) is asked at any step for
 * coordinates and at step 0 for all else; one of type 2 (connectivity changes) has a state for each
 * step.
 *
 * Memory. Every array is allocated and freed by the host. Element counts are given with each
 * function; the library never writes beyond them, and writes nothing where it refuses. After an
 * exception an array that was to be filled holds unspecified values.
 *
 * Failures. Status functions return 0 for success and -1 for a refusal, which is told in the
 * message log. With no file open every function that needs one leaves an ERROR line and returns -1,
 * or 0 where it answers a count or a yes-or-no question. Only MX_openFile turns all failures into
 * -1. The other functions may throw C++ exceptions through the call, and a host written in C must
 * only be exposed to files that it trusts:
 *
 *  - std::out_of_range for a step, part, element type, variable or time set that is not there,
 *  - std::length_error where a count does not fit the 32 bits of the answer it was asked for with,
 *  - std::runtime_error for a dataset that is missing or that a read leans on in vain,
 *  - std::logic_error for data of a kind that the function does not take,
 *  - Kelbor::Exception (a std::exception) for a damaged dataset,
 *  - morvex::UsageException, morvex::InternalError (no std::exception) for an ambiguous precision
 *    and for a damaged recipe,
 *  - std::bad_alloc where memory runs out, or a Kelbor::Exception that says so.
 *
 * After any of these the session goes on, and the next question is answered as if nothing had
 * happened.
 *
 * Messages. STATUS lines and below go to standard output, WARNING, ERROR and FATAL to standard
 * error. The first successful MX_openFile of a process switches everything below WARNING off.
 *
 * Threads. Large datasets are decoded by several threads: as many as MX_setNumberOfOmpThreads or
 * the environment variable OMP_NUM_THREADS says, else the machine's processors less two, at
 * least 1. Results are the same bits for every number.
 *
 * The environment variable MORVEX_WORKFLOW_LOG, read when the library is loaded, names a file that
 * takes a record of the calls of each session.
 */
#ifndef MORVEX_ENSG_H
#define MORVEX_ENSG_H

#include <stdint.h>

#if defined(__GNUC__)
#define MORVEX_EXPORT __attribute__((visibility("default")))
#else
#define MORVEX_EXPORT
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** Number of element types: the length of every array of counts by type. */
#define MX_ELEMENT_TYPES 34

/**
 * \name Session
 * @{
 */

/**
 * Opens a result file and reads its metadata. An open session is ended first, with a WARNING.
 * \param file_path   path in the encoding of the file system; NULL is refused
 * \param host_value  kept and not interpreted
 * \return 0; -1 for anything that can't be opened, after one FATAL line that names the path and the
 *         reason. No session is open then, nor the one before. Throws nothing.
 */
MORVEX_EXPORT int MX_openFile(const char* file_path, uint64_t host_value);

/** Ends the session and frees all that belongs to it. \return 0 */
MORVEX_EXPORT int MX_exit(void);

/**
 * Sets the number of threads for all later reads of the process. Needs no session.
 * \return 0; -1 for numbers below 1, which change nothing
 */
MORVEX_EXPORT int MX_setNumberOfOmpThreads(int threads);

/**
 * The library's release, for example "7.0.1". Needs no session.
 * \param release  20 characters, all of which are written: the text, then zeros
 * \return 0
 */
MORVEX_EXPORT int MX_getReaderRelease(char* release);

/** @}
 * \name Time
 * @{
 */

/** \return number of time sets; a file may have none */
MORVEX_EXPORT int MX_getNumberOfTimesets(void);

/**
 * What changes over time.
 * \param geometry_type  0 the model, 1 the measured particles
 * \return 0 nothing, 1 coordinates, 2 connectivity as well; -1 for any other type and for a
 * geometry that the file does not have
 */
MORVEX_EXPORT int MX_getGeometryAdaptivityType(int geometry_type);

/** \return index of the time set of the model geometry; 0 where it has none */
MORVEX_EXPORT int MX_getModelGeoTimeset(void);

/** \return index of the time set of the measured particles; 0 where there is none. To be asked
 * where MX_hasMeasuredGeometry answers 1. */
MORVEX_EXPORT int MX_getMeasuredGeoTimeset(void);

/** \return number of steps of a time set, whose sign is dropped; 1 in a file without time sets */
MORVEX_EXPORT int MX_getNumberOfTimesteps(int timeset);

/**
 * The times of all steps, in the unit of the analysis.
 * \param values  MX_getNumberOfTimesteps(timeset) floats; a single 0.0 without time sets
 * \return 0
 */
MORVEX_EXPORT int MX_getTimestepsValues(int timeset, float* values);

/** @}
 * \name Parts
 * @{
 */

/** \return 1: ids of elements are always to be had */
MORVEX_EXPORT int MX_hasElementIds(void);

/** \return 1: ids of nodes are always to be had */
MORVEX_EXPORT int MX_hasNodeIds(void);

/** \return number of parts of the model, n below, as its first state has it. No state has more. */
MORVEX_EXPORT int MX_getNumberOfParts(void);

/**
 * Tables of the model's parts at a step. Each array has one entry for each of the n parts.
 * \param part_ids            identifiers
 * \param part_types          0 unstructured, else a structured block
 * \param part_descriptions   n strings of the file's name width plus 1 bytes: each takes a name and
 * a zero and nothing behind it. No file has a name width above 1048576. \param number_of_nodes
 * nodes of each part (the low 32 bits) \param number_of_elements  n arrays of 34 counts, by element
 * type \param ijk_dimensions      n arrays of 4: extents of blocks; left alone for unstructured
 * parts; may be NULL \param iblanking_options   n arrays of 5: zeros for blocks of type 2, left
 * alone for all others; may be NULL \return 0
 */
MORVEX_EXPORT int MX_getPartInformation(int timestep, int* part_ids, int* part_types,
                                        char** part_descriptions, int* number_of_nodes,
                                        int** number_of_elements, int** ijk_dimensions,
                                        int** iblanking_options);

/**
 * Ids of nodes, counted from 0 in each part.
 * \param ids  one for each node of the part
 * \return 0
 */
MORVEX_EXPORT int MX_getPartNodeIds(int timestep, int part_number, int* ids);

/**
 * Ids of the elements of a type; they count from 0 in each part, through the types in their order.
 * \param ids  one for each element of the type
 * \return 0
 */
MORVEX_EXPORT int MX_getPartElementIds(int timestep, int part_number, int element_type, int* ids);

/**
 * The box around the model, in the unit of its coordinates.
 * \param box  6 floats: xmin, xmax, ymin, ymax, zmin, zmax for a static model; for any other xmin,
 *             ymin, zmin, xmax, ymax, zmax at that step
 * \return 0
 */
MORVEX_EXPORT int MX_getBoundingBox(int timestep, float* box);

/** Says that no geometry will be asked for in the near future: what only it needs is freed. */
MORVEX_EXPORT void MX_finishedGeometryProcessing(void);

/** @}
 * \name Coordinates and connectivity
 * @{
 */

/**
 * Coordinates of the nodes of a part.
 * \param x,y,z  one float for each node of the part
 * \return 0
 */
MORVEX_EXPORT int MX_getPartCoordinates(int timestep, int part_number, float* x, float* y,
                                        float* z);

/** The same for a structured block, node by node in the order of its extents. \return 0 */
MORVEX_EXPORT int MX_getBlockStructuredCoordinates(int timestep, int blockNumber, float* x,
                                                   float* y, float* z);

/** Blanking of a block is not delivered. \return -1, always; nothing is written */
MORVEX_EXPORT int MX_getBlockIblanking(int timestep, int blockNumber, int* iblanking);

/**
 * Nodes of all elements of a type, element by element.
 * \param connectivity  elements x nodes per element
 * \return 0; -1 for the types 30 to 33, which have functions of their own
 */
MORVEX_EXPORT int MX_getElementConnectivity(int timestep, int part_number, int element_type,
                                            int* connectivity);

/**
 * \param values  for each n-sided element (type 30) its number of nodes
 * \return 0
 */
MORVEX_EXPORT int MX_getNSidedNumberOfNodesPerFace(int timestep, int part_number, int* values);

/** \return length of the array of MX_getNSidedConnectivity */
MORVEX_EXPORT int MX_getDataSizeForNSidedConnectivity(int timestep, int part_number);

/**
 * \param values  nodes of all n-sided elements, one after the other
 * \return 0
 */
MORVEX_EXPORT int MX_getNSidedConnectivity(int timestep, int part_number, int* values);

/**
 * \param values  for each n-faced element (type 32) its number of faces
 * \return 0
 */
MORVEX_EXPORT int MX_getNFacedNumberOfFacesPerElement(int timestep, int part_number, int* values);

/** \return length of the array of MX_getNFacedNodesPerFace: faces of all n-faced elements */
MORVEX_EXPORT int MX_getDataSizeForNFacedNodesPerFace(int timestep, int part_number);

/**
 * \param values  for each face of the n-faced elements its number of nodes
 * \return 0
 */
MORVEX_EXPORT int MX_getNFacedNodesPerFace(int timestep, int part_number, int* values);

/** \return length of the array of MX_getNFacedConnectivity */
MORVEX_EXPORT int MX_getDataSizeForNFacedConnectivity(int timestep, int part_number);

/**
 * \param values  nodes of all faces of the n-faced elements, one after the other
 * \return 0
 */
MORVEX_EXPORT int MX_getNFacedConnectivity(int timestep, int part_number, int* values);

/**
 * Border faces of a part.
 * \param counts  34 numbers of faces, by type
 * \return 1 if there are triangles (type 6) or quadrilaterals (type 10) among them, else 0
 */
MORVEX_EXPORT int MX_hasBorderFaces(int timestep, int part_number, int* counts);

/**
 * Border faces of a type, and the elements that they belong to.
 * \param connectivity  faces x nodes per face
 * \param parent_ids    one for each face
 * \param parent_types  element type of the parent, one for each face, 16 bits wide
 * \return 0
 */
MORVEX_EXPORT int MX_getBorderFacesConnByType(int timestep, int part_number, int element_type,
                                              int* connectivity, int* parent_ids,
                                              short* parent_types);

/** @}
 * \name Measured particles
 * @{
 */

/** \return 1 if the file has measured particles, else 0 */
MORVEX_EXPORT int MX_hasMeasuredGeometry(void);

/** \return number of particles at a step of their time set */
MORVEX_EXPORT int MX_getNumberOfMeasuredParticles(int timestep);

/**
 * Ids of particles, counted from 1.
 * \param ids  one for each particle
 * \return 0
 */
MORVEX_EXPORT int MX_getMeasuredParticleIds(int timestep, int* ids);

/**
 * \param x,y,z  one float for each particle
 * \return 0
 */
MORVEX_EXPORT int MX_getMeasuredParticleCoordinates(int timestep, float* x, float* y, float* z);

/** @}
 * \name Variables
 * @{
 */

/** \return number of variables, v below */
MORVEX_EXPORT int MX_getNumberOfVariables(void);

/** \return 0 for a variable of the model, 1 for one of the measured particles */
MORVEX_EXPORT int MX_getVariableGeoType(int which_variable);

/**
 * Tables of the variables. Each array has one entry for each of the v variables; strings must hold
 * the file's name width plus 1 bytes, as those of MX_getPartInformation.
 * \param names            names
 * \param descriptions     descriptions; the array and each entry may be NULL
 * \param var_types        1 scalar, 2 vector, 3 and 4 tensors
 * \param locations        4 values per node, 1 values per element
 * \param complex_flags    non-zero for a complex variable
 * \param imaginary_names  description of the imaginary part, or the empty text; filled only where
 *                         the entry is not NULL and frequencies[i] comes in as non-zero
 * \param frequencies      frequency of a complex variable, else 0; filled as said above; may be
 * NULL \param has_time         where an entry comes in as non-zero and the variable is a constant:
 * 1 if it has a time set, else 0; all other entries are left alone; may be NULL \param timesets
 * index of the time set, 0 where there is none \return 0
 */
MORVEX_EXPORT int MX_getVariableInformation(char** names, char** descriptions, int* var_types,
                                            int* locations, int* complex_flags,
                                            char** imaginary_names, float* frequencies,
                                            int* has_time, int* timesets);

/**
 * One component of a variable on a part.
 * \param timestep           step of the variable's time set
 * \param geometry_timestep  step whose sizes hold; 0 for a static model
 * \param which_variable     variable
 * \param which_part         part
 * \param var_type           1 to 4, as delivered by MX_getVariableInformation; of no meaning on
 * blocks \param which_type         element type, for values per element; else of no meaning \param
 * imag_data          above 0 for the imaginary part \param component          component, from 0
 * \param buffer             a float for each node of the part, or for each element of the type
 * \return 0; 1 if the variable is not defined on the part, with nothing written; -1 for another
 *         var_type or a variable of no known geometry
 */
MORVEX_EXPORT int MX_getVariableByComponent(int timestep, int geometry_timestep, int which_variable,
                                            int which_part, int var_type, int which_type,
                                            int imag_data, int component, float* buffer);

/**
 * The value of a constant at a step.
 * \param real,imaginary  one float each; both receive the same number
 * \return 0
 */
MORVEX_EXPORT int MX_getConstantValue(int timestep, int which_variable, float* real,
                                      float* imaginary);

/** @} */

#ifdef __cplusplus
}
#endif

#endif /* MORVEX_ENSG_H */
