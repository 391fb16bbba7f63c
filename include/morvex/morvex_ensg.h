/**
 * \file morvex_ensg.h
 * \brief Host interface of libmorvex-ensg: reads one compressed finite-element result file.
 *
 * Open a file with MX_openFile, ask, end with MX_exit. One file is open at a time, and one thread
 * calls all functions. The library is made for this order; any other works as well:
 *
 *  1. time sets and their steps,
 *  2. parts, coordinates, connectivity, particles; then MX_finishedGeometryProcessing,
 *  3. variables, step by step.
 *
 * \par Example
 * The parts of `examples/walk.cpp` that ask, without the catching of exceptions:
 * \snippet walk.cpp geometry
 * \snippet walk.cpp variables
 *
 * \anchor bases
 * \par Where numbers begin
 *
 * | number                                              | from | within                          |
 * |-----------------------------------------------------|------|---------------------------------|
 * | time sets, variables, parts, components             | 0    | the file, a variable            |
 * | steps                                               | 0    | a time set                      |
 * | blocks: `blockNumber` is the number of the part     | 0    | the file                        |
 * | nodes in connectivity (1)                           | 1    | the part                        |
 * | node ids (MX_getPartNodeIds)                        | 0    | the part                        |
 * | element ids (MX_getPartElementIds)                  | 0    | the part, type after type       |
 * | parents of border faces (1)                         | 0    | see MX_getBorderFacesConnByType |
 * | particle ids (MX_getMeasuredParticleIds)            | 1    | the particles of a step         |
 *
 * (1) Delivered as stored, neither checked nor renumbered; the base is the convention of the
 * format. Node k of a connectivity is entry k - 1 of the part's coordinates. Ids are places,
 * computed by the library: they are not the solver's ids.
 *
 * \anchor element_types
 * \par Element types
 * Numbers from 0 to 33, in pairs: each type is followed by its ghost twin of the same shape. The
 * even ones, with the nodes of an element:
 *
 * | type | shape         | nodes | type | shape         | nodes | type | shape       | nodes  |
 * |------|---------------|-------|------|---------------|-------|------|-------------|--------|
 * | 0    | point         | 1     | 12   | quadrilateral | 8     | 24   | pentahedron | 15     |
 * | 2    | bar           | 2     | 14   | tetrahedron   | 4     | 26   | hexahedron  | 8      |
 * | 4    | bar           | 3     | 16   | tetrahedron   | 10    | 28   | hexahedron  | 20     |
 * | 6    | triangle      | 3     | 18   | pyramid       | 5     | 30   | n-sided     | varies |
 * | 8    | triangle      | 6     | 20   | pyramid       | 13    | 32   | n-faced     | varies |
 * | 10   | quadrilateral | 4     | 22   | pentahedron   | 6     |      |             |        |
 *
 * \anchor steps
 * \par Steps
 * MX_getGeometryAdaptivityType decides which steps a geometry can be asked for. Its steps are those
 * of the time set that MX_getModelGeoTimeset or MX_getMeasuredGeoTimeset returns.
 *
 * | adaptivity                | coordinates | all other questions about the geometry |
 * |---------------------------|-------------|----------------------------------------|
 * | 0 static                  | step 0      | step 0                                 |
 * | 1 coordinates change      | each step   | step 0                                 |
 * | 2 connectivity changes    | each step   | each step                              |
 *
 * The rule holds for the model and for the particles, their count and ids included. Another step
 * throws std::out_of_range, or std::runtime_error where its dataset is missing. Only the box of a
 * static model takes any step. The values of a variable have the steps of the variable's own time
 * set; MX_getVariableByComponent takes a step of the geometry as well. The library does not relate
 * the steps of different time sets: a host compares their times.
 *
 * \anchor memory
 * \par Memory
 * The host allocates and frees every array. Each function states the number of entries; the library
 * never writes beyond them, and writes nothing where it refuses. After an exception an array that
 * was to be filled holds unspecified values. No pointer may be NULL unless a function allows it:
 * the library does not check them, and writing to NULL ends the process.
 *
 * \anchor texts
 * \par Texts
 * A text is written with a zero at its end, and nothing after it. A file keeps its texts in fields
 * of one width, which no function returns but which never exceeds 1048576 bytes. Room for
 * #MX_TEXT_SIZE is therefore enough in every file. Two ways to provide it cheaply: allocate the
 * room for all texts at once and leave it untouched, since operating systems back only pages that
 * are written; or let all entries of an array point to the same room, if no text matters.
 *
 * \anchor failures
 * \par Failures
 * Status functions return 0 for success and -1 for a refusal, which leaves an ERROR line in the
 * message log unless the function states otherwise. Where data can't be delivered, functions throw
 * C++ exceptions through the call. A C host can't catch them: expose it to trusted files alone, and
 * ask nothing that throws. MX_openFile, MX_exit, MX_setNumberOfOmpThreads and MX_getReaderRelease
 * never throw. The read failures are:
 *
 * | class                         | reason                                                       |
 * |-------------------------------|--------------------------------------------------------------|
 * | std::runtime_error            | a dataset, or one that it depends on, is missing or has      |
 * | ^                             | another size, or depends on itself                           |
 * | std::out_of_range             | no such step, part, type or variable; a damaged index        |
 * | std::length_error             | a count that does not fit the 32 bits of its answer          |
 * | std::logic_error              | data of a kind that the function does not take               |
 * | std::invalid_argument         | a damaged reference between datasets                         |
 * | boost::bad_lexical_cast       | the same; derived from std::bad_cast                         |
 * | Kelbor::Exception and derived | a damaged dataset, values of another type; a std::exception  |
 * | std::bad_alloc                | memory ran out; also reported as a Kelbor::Exception         |
 * | morvex::UsageException        | the file's precision patterns fit a name twice               |
 * | morvex::InternalError         | a damaged recipe or parameter block                          |
 *
 * The last two are no std::exception: only `catch (...)` catches them. No header declares them and
 * their text is not logged. After any exception the session goes on, and the next question is
 * answered as if nothing had happened.
 *
 * \anchor no_session
 * \par Without a session
 * MX_openFile, MX_setNumberOfOmpThreads and MX_getReaderRelease need none. Every other function
 * writes an ERROR line and nothing else. MX_exit and the functions that return a count or answer
 * yes or no (`MX_has...`, `MX_getNumberOf...`, `MX_getDataSizeFor...`) return 0, all others -1.
 *
 * \par Messages
 * STATUS lines and below are written to standard output; WARNING, ERROR and FATAL to standard
 * error. The first successful MX_openFile of a process switches everything below WARNING off.
 *
 * \par Threads
 * Several threads decode large datasets: the number given to MX_setNumberOfOmpThreads, else that of
 * the environment variable OMP_NUM_THREADS, else the machine's processors less two, at least 1.
 * Results have the same bits for every number.
 *
 * \par Record of calls
 * The environment variable MORVEX_WORKFLOW_LOG, read when the library is loaded, names a file that
 * receives a line for most calls of a session. The name has at most 255 bytes. Each session starts
 * the file anew.
 */
#ifndef MORVEX_ENSG_H
#define MORVEX_ENSG_H

#include <stdint.h>

/** Marks what the shared library exports. */
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

/** Room for any text of any file, in bytes, with the zero at its end. */
#define MX_TEXT_SIZE 1048577

/**
 * \defgroup session Session
 * \brief Opening, ending, and settings of the process.
 * @{
 */

/**
 * Opens a result file and reads its metadata. An open session is ended first, with a WARNING.
 *
 * \param file_path   path in the encoding of the file system; NULL is refused
 * \param host_value  kept and not interpreted
 * \return 0; -1 for anything that can't be opened, after one FATAL line with the path and the
 *         reason. No session is open then, nor the one before. Never throws.
 */
MORVEX_EXPORT int MX_openFile(const char* file_path, uint64_t host_value);

/** Ends the session and frees all that belongs to it. \return 0, also without a session */
MORVEX_EXPORT int MX_exit(void);

/**
 * Sets the number of threads for all later reads of the process.
 *
 * \param threads  at least 1
 * \return 0; -1 for numbers below 1, which change nothing and leave no line in the log
 */
MORVEX_EXPORT int MX_setNumberOfOmpThreads(int threads);

/**
 * The library's release, for example "7.0.1".
 *
 * \param release  20 characters, all of which are written: the text, then zeros
 * \return 0
 */
MORVEX_EXPORT int MX_getReaderRelease(char* release);

/** @} */

/**
 * \defgroup time Time
 * \brief Time sets, and what changes over their steps.
 * @{
 */

/** \return number of time sets; a file may have none */
MORVEX_EXPORT int MX_getNumberOfTimesets(void);

/**
 * What changes over the steps of a geometry; see \ref steps "Steps".
 *
 * \param geometry_type  0 the model, 1 the measured particles
 * \return 0 nothing, 1 coordinates, 2 connectivity as well; -1 with an ERROR line for another type,
 *         and for a geometry that the file does not have. Asking for particles in a file without
 *         any is harmless; MX_hasMeasuredGeometry answers without the line.
 */
MORVEX_EXPORT int MX_getGeometryAdaptivityType(int geometry_type);

/** \return index of the time set of the model; 0 also where it has none */
MORVEX_EXPORT int MX_getModelGeoTimeset(void);

/** \return index of the time set of the measured particles; 0 also where they have none, and in a
 *          file without particles */
MORVEX_EXPORT int MX_getMeasuredGeoTimeset(void);

/**
 * \param timeset  time set; its sign is dropped, so that -2 is time set 2
 * \return number of steps; 1 for any argument in a file without time sets
 * \throws std::out_of_range  no such time set
 */
MORVEX_EXPORT int MX_getNumberOfTimesteps(int timeset);

/**
 * The times of all steps, in the unit of the analysis.
 *
 * \param timeset  time set; here a negative number is refused
 * \param values   MX_getNumberOfTimesteps(timeset) floats; a single 0.0 in a file without time sets
 * \return 0
 * \throws std::out_of_range  no such time set
 */
MORVEX_EXPORT int MX_getTimestepsValues(int timeset, float* values);

/** @} */

/**
 * \defgroup parts Parts
 * \brief Tables of parts, ids, boxes. All answers come from metadata; nothing is decoded.
 * @{
 */

/** \return 1: element ids are always available */
MORVEX_EXPORT int MX_hasElementIds(void);

/** \return 1: node ids are always available */
MORVEX_EXPORT int MX_hasNodeIds(void);

/**
 * \return number of parts of the model in its first state, n below. No state has more.
 * \throws std::out_of_range  the file has no model
 */
MORVEX_EXPORT int MX_getNumberOfParts(void);

/**
 * Tables of the model's parts at a step. Each array has n entries. A later state may have fewer
 * parts; the entries after its last are left alone.
 *
 * \param timestep            step; see \ref steps "Steps"
 * \param part_ids            identifiers
 * \param part_types          0 unstructured, else a structured block
 * \param part_descriptions   n texts of up to #MX_TEXT_SIZE bytes; see \ref texts "Texts"
 * \param number_of_nodes     nodes of each part (the low 32 bits)
 * \param number_of_elements  n arrays of #MX_ELEMENT_TYPES counts, by type
 * \param ijk_dimensions      n arrays of 4, filled for blocks alone: nodes along i, j and k, and a
 *                            fourth number that is passed on as stored and has no meaning here.
 *                            The array may be NULL, and so may the entries of unstructured parts.
 * \param iblanking_options   n arrays of 5, filled with zeros for blocks of type 2 alone. The
 *                            array may be NULL, and so may the entries of other parts.
 * \return 0
 * \throws std::out_of_range  no such step
 * \throws std::length_error  the state has more parts than the first; nothing is written
 */
MORVEX_EXPORT int MX_getPartInformation(int timestep, int* part_ids, int* part_types,
                                        char** part_descriptions, int* number_of_nodes,
                                        int** number_of_elements, int** ijk_dimensions,
                                        int** iblanking_options);

/**
 * Ids of the nodes of a part: 0, 1, 2, ...
 *
 * \param timestep     step; see \ref steps "Steps"
 * \param part_number  part
 * \param ids          one for each node of the part
 * \return 0
 * \throws std::out_of_range  no such step or part
 * \throws std::length_error  more than 2147483647 nodes
 */
MORVEX_EXPORT int MX_getPartNodeIds(int timestep, int part_number, int* ids);

/**
 * Ids of the elements of a type. They count from 0 in each part, through the types in rising order:
 * in a part of 3 quadrilaterals and 5 tetrahedra the latter have the ids 3 to 7.
 *
 * \param timestep      step; see \ref steps "Steps"
 * \param part_number   part
 * \param element_type  0 to 33
 * \param ids           one for each element of the type
 * \return 0
 * \throws std::out_of_range  no such step, part or type
 * \throws std::length_error  an id above 2147483647
 */
MORVEX_EXPORT int MX_getPartElementIds(int timestep, int part_number, int element_type, int* ids);

/**
 * The box around the model, in the unit of its coordinates. The order of the six numbers depends on
 * MX_getGeometryAdaptivityType(0).
 *
 * \param timestep  any number for a static model; 0 where only coordinates change; each step where
 *                  connectivity changes
 * \param box       6 floats: xmin, xmax, ymin, ymax, zmin, zmax for a static model; for any other
 *                  xmin, ymin, zmin, xmax, ymax, zmax. Where only coordinates change, the one
 *                  box is that of step 0, which need not enclose later steps. A step whose box
 *                  the file lacks has the largest float three times, then the lowest three times.
 * \return 0
 * \throws std::out_of_range  no such step; no geometry
 */
MORVEX_EXPORT int MX_getBoundingBox(int timestep, float* box);

/** States that no geometry will be asked for in the near future: frees what only it needs. */
MORVEX_EXPORT void MX_finishedGeometryProcessing(void);

/** @} */

/**
 * \defgroup shape Coordinates and connectivity
 * \brief Arrays that are decoded when they are asked for.
 *
 * Ask only where the count of MX_getPartInformation, MX_hasBorderFaces or `MX_getDataSizeFor...` is
 * above 0. Where it is 0 a file has no dataset as a rule, and the question throws
 * std::runtime_error. Each function that returns a status throws the \ref failures "read failures".
 * @{
 */

/**
 * Coordinates of the nodes of an unstructured part. Asked for a structured block it delivers the
 * right values where the file stores coordinates exactly, and throws a Kelbor::Exception where it
 * stores them quantised.
 *
 * \param timestep     step; see \ref steps "Steps"
 * \param part_number  part
 * \param x,y,z        one float for each node of the part
 * \return 0
 */
MORVEX_EXPORT int MX_getPartCoordinates(int timestep, int part_number, float* x, float* y,
                                        float* z);

/**
 * Coordinates of the nodes of a structured block, i fastest, then j, then k. Asked for an
 * unstructured part it throws a Kelbor::Exception where the file stores coordinates quantised.
 *
 * \param timestep     step; see \ref steps "Steps"
 * \param blockNumber  the number of the part
 * \param x,y,z        one float for each node of the block
 * \return 0
 */
MORVEX_EXPORT int MX_getBlockStructuredCoordinates(int timestep, int blockNumber, float* x,
                                                   float* y, float* z);

/**
 * Blanking of a block is not delivered.
 *
 * \param timestep     not looked at
 * \param blockNumber  not looked at
 * \param iblanking    not written; may be NULL
 * \return -1, always, without a line in the log
 */
MORVEX_EXPORT int MX_getBlockIblanking(int timestep, int blockNumber, int* iblanking);

/**
 * Nodes of all elements of a type, element by element.
 *
 * \param timestep      step; see \ref steps "Steps"
 * \param part_number   part
 * \param element_type  0 to 29
 * \param connectivity  elements x nodes per element; node numbers count from 1 in the part
 * \return 0; -1 for the types 30 to 33, which have functions of their own
 */
MORVEX_EXPORT int MX_getElementConnectivity(int timestep, int part_number, int element_type,
                                            int* connectivity);

/**
 * Number of nodes of each n-sided element (type 30).
 *
 * \param timestep     step; see \ref steps "Steps"
 * \param part_number  part
 * \param values       one for each element of type 30
 * \return 0
 */
MORVEX_EXPORT int MX_getNSidedNumberOfNodesPerFace(int timestep, int part_number, int* values);

/**
 * \param timestep     step; see \ref steps "Steps"
 * \param part_number  part
 * \return entries of MX_getNSidedConnectivity; 0 in a part without n-sided elements
 * \throws std::out_of_range  no such step or part
 * \throws std::length_error  more than 2147483647 entries
 */
MORVEX_EXPORT int MX_getDataSizeForNSidedConnectivity(int timestep, int part_number);

/**
 * Nodes of all n-sided elements, one element after the other.
 *
 * \param timestep     step; see \ref steps "Steps"
 * \param part_number  part
 * \param values       MX_getDataSizeForNSidedConnectivity entries; they count from 1 in the part
 * \return 0
 */
MORVEX_EXPORT int MX_getNSidedConnectivity(int timestep, int part_number, int* values);

/**
 * Number of faces of each n-faced element (type 32).
 *
 * \param timestep     step; see \ref steps "Steps"
 * \param part_number  part
 * \param values       one for each element of type 32
 * \return 0
 */
MORVEX_EXPORT int MX_getNFacedNumberOfFacesPerElement(int timestep, int part_number, int* values);

/**
 * \param timestep     step; see \ref steps "Steps"
 * \param part_number  part
 * \return entries of MX_getNFacedNodesPerFace: the faces of all n-faced elements
 * \throws std::out_of_range  no such step or part
 * \throws std::length_error  more than 2147483647 entries
 */
MORVEX_EXPORT int MX_getDataSizeForNFacedNodesPerFace(int timestep, int part_number);

/**
 * Number of nodes of each face of the n-faced elements.
 *
 * \param timestep     step; see \ref steps "Steps"
 * \param part_number  part
 * \param values       MX_getDataSizeForNFacedNodesPerFace entries, element by element
 * \return 0
 */
MORVEX_EXPORT int MX_getNFacedNodesPerFace(int timestep, int part_number, int* values);

/**
 * \param timestep     step; see \ref steps "Steps"
 * \param part_number  part
 * \return entries of MX_getNFacedConnectivity
 * \throws std::out_of_range  no such step or part
 * \throws std::length_error  more than 2147483647 entries
 */
MORVEX_EXPORT int MX_getDataSizeForNFacedConnectivity(int timestep, int part_number);

/**
 * Nodes of all faces of the n-faced elements, one face after the other.
 *
 * \param timestep     step; see \ref steps "Steps"
 * \param part_number  part
 * \param values       MX_getDataSizeForNFacedConnectivity entries; they count from 1 in the part
 * \return 0
 */
MORVEX_EXPORT int MX_getNFacedConnectivity(int timestep, int part_number, int* values);

/**
 * Numbers of border faces of a part. Answered from metadata.
 *
 * \param timestep     step; see \ref steps "Steps"
 * \param part_number  part
 * \param counts       #MX_ELEMENT_TYPES numbers of faces, by type; always filled
 * \return 1 if there are triangles (type 6) or quadrilaterals (type 10) among them, else 0: faces
 *         of other types don't count for the answer
 * \throws std::out_of_range  no such step or part
 */
MORVEX_EXPORT int MX_hasBorderFaces(int timestep, int part_number, int* counts);

/**
 * Border faces of a type, and the elements that they belong to.
 *
 * \param timestep      step; see \ref steps "Steps"
 * \param part_number   part
 * \param element_type  0 to 29
 * \param connectivity  faces x nodes per face; node numbers count from 1 in the part
 * \param parent_ids    one for each face: the parent among the elements of the part, from 0,
 *                      delivered as stored. Whether the count runs through all types, as that of
 *                      MX_getPartElementIds does, or through the parent's type alone, is up to the
 *                      program that wrote the file; the two agree in parts of one type.
 * \param parent_types  element type of the parent, one for each face, 16 bits wide
 * \return 0
 */
MORVEX_EXPORT int MX_getBorderFacesConnByType(int timestep, int part_number, int element_type,
                                              int* connectivity, int* parent_ids,
                                              short* parent_types);

/** @} */

/**
 * \defgroup particles Measured particles
 * \brief The second geometry: one part, 0, that has nodes alone.
 *
 * Without particles the functions below, but the first, throw std::out_of_range.
 * @{
 */

/** \return 1 if the file has measured particles, else 0 */
MORVEX_EXPORT int MX_hasMeasuredGeometry(void);

/**
 * \param timestep  step; 0 unless MX_getGeometryAdaptivityType(1) is 2
 * \return number of particles
 * \throws std::out_of_range  no such step
 * \throws std::length_error  more than 2147483647 particles
 */
MORVEX_EXPORT int MX_getNumberOfMeasuredParticles(int timestep);

/**
 * Ids of particles: 1, 2, 3, ...
 *
 * \param timestep  step; 0 unless MX_getGeometryAdaptivityType(1) is 2
 * \param ids       one for each particle
 * \return 0
 * \throws std::out_of_range  no such step
 * \throws std::length_error  more than 2147483647 particles
 */
MORVEX_EXPORT int MX_getMeasuredParticleIds(int timestep, int* ids);

/**
 * Coordinates of particles. Throws the \ref failures "read failures".
 *
 * \param timestep  step; 0 if MX_getGeometryAdaptivityType(1) is 0, else each step of the time set
 * \param x,y,z     one float for each particle; where only coordinates change their number is that
 *                  of step 0
 * \return 0
 */
MORVEX_EXPORT int MX_getMeasuredParticleCoordinates(int timestep, float* x, float* y, float* z);

/** @} */

/**
 * \defgroup variables Variables
 * \brief Values per node and per element, and constants.
 *
 * | type | variable         | components | order by the format's convention   |
 * |------|------------------|------------|------------------------------------|
 * | 1    | scalar           | 1          |                                    |
 * | 2    | vector           | 3          | x, y, z                            |
 * | 3    | symmetric tensor | 6          | xx, yy, zz, xy, xz, yz             |
 * | 4    | tensor           | 9          | row by row: xx, xy, xz, yx, ..., zz |
 *
 * Components are delivered under the numbers under which they are stored; the library neither
 * reorders them nor computes one from another.
 * @{
 */

/** \return number of variables, v below */
MORVEX_EXPORT int MX_getNumberOfVariables(void);

/**
 * \param which_variable  variable
 * \return 0 for a variable of the model, 1 for one of the measured particles
 * \throws std::out_of_range  no such variable
 */
MORVEX_EXPORT int MX_getVariableGeoType(int which_variable);

/**
 * Tables of the variables. Each array has v entries, and each text room for up to #MX_TEXT_SIZE
 * bytes; see \ref texts "Texts". What an entry holds before the call decides whether some of the
 * tables are filled.
 *
 * \param names            names
 * \param descriptions     descriptions; the array and each entry may be NULL
 * \param var_types        1 to 4, see the table above
 * \param locations        4 values per node, 1 values per element
 * \param complex_flags    non-zero for a complex variable
 * \param imaginary_names  description of the imaginary part, the empty text for a variable that is
 *                         not complex; filled where the entry is not NULL and frequencies[i] comes
 *                         in as non-zero. The array and each entry may be NULL.
 * \param frequencies      frequency of a complex variable, else 0. Pass 1 to ask for it: an entry
 *                         that is 0, or whose imaginary_names[i] is NULL, is left alone. The array
 *                         may be NULL.
 * \param has_time         whether a constant has a time set. Pass 2: an entry becomes 1 for a
 *                         constant with a time set, 0 for one without, and stays 2 for every other
 *                         variable, which is how constants are recognised. An entry of 0 is left
 *                         alone. The array may be NULL.
 * \param timesets         index of the time set; 0 also where there is none. No function separates
 *                         a variable without a time set from one of time set 0: it has values at
 *                         step 0 alone, and other steps throw std::runtime_error.
 * \return 0
 */
MORVEX_EXPORT int MX_getVariableInformation(char** names, char** descriptions, int* var_types,
                                            int* locations, int* complex_flags,
                                            char** imaginary_names, float* frequencies,
                                            int* has_time, int* timesets);

/**
 * One component of a variable on a part. Throws the \ref failures "read failures":
 * std::runtime_error for a component, a step or an imaginary part that the file lacks, and
 * std::out_of_range for a constant, which has no arrays.
 *
 * \param timestep           step of the variable's time set
 * \param geometry_timestep  step of the variable's geometry at which sizes hold: 0 unless its
 *                           adaptivity is 2
 * \param which_variable     variable
 * \param which_part         part; 0 for a variable of the particles
 * \param var_type           1 to 4, as in MX_getVariableInformation; of no meaning on blocks
 * \param which_type         element type, for values per element; else of no meaning
 * \param imag_data          above 0 for the imaginary part
 * \param component          component, from 0
 * \param buffer             one float for each node of the part, for each element of the type, or
 *                           for each particle. A block has values per node, whatever the location
 *                           of the variable.
 * \return 0; 1 if the variable is not defined on the part, with nothing written; -1 without a line
 *         in the log for another var_type, and with an ERROR line for a variable of no known
 *         geometry
 */
MORVEX_EXPORT int MX_getVariableByComponent(int timestep, int geometry_timestep, int which_variable,
                                            int which_part, int var_type, int which_type,
                                            int imag_data, int component, float* buffer);

/**
 * The value of a constant at a step.
 *
 * \param timestep        step of its time set; 0 for a constant without one
 * \param which_variable  a variable for which has_time of MX_getVariableInformation is not 2
 * \param real            one float
 * \param imaginary       one float; receives the same number as `real`
 * \return 0
 * \throws std::out_of_range  no such variable or step; the variable is no constant
 */
MORVEX_EXPORT int MX_getConstantValue(int timestep, int which_variable, float* real,
                                      float* imaginary);

/** @} */

#ifdef __cplusplus
}
#endif

#endif /* MORVEX_ENSG_H */
