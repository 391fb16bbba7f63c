// Exports about parts, coordinates, connectivity, border faces and measured particles.

#include "morvex/morvex_ensg.h"
#include "reader/ensg/session.hpp"

using morvex::ask;
using morvex::GenericMXReader;
using morvex::readerFor;
using morvex::session;

int MX_hasElementIds(void) {
  return ask(__func__, 0, &GenericMXReader::hasElementIds);
}

int MX_hasNodeIds(void) {
  return ask(__func__, 0, &GenericMXReader::hasNodeIds);
}

int MX_getNumberOfParts(void) {
  session().log().write("[MX_getNumberOfParts]\n");
  return ask(__func__, 0, &GenericMXReader::getNumberOfParts);
}

int MX_getPartInformation(int timestep, int* part_ids, int* part_types, char** part_descriptions,
                          int* number_of_nodes, int** number_of_elements, int** ijk_dimensions,
                          int** iblanking_options) {
  session().log().write("[MX_getPartInformation]\n");
  return ask(__func__, -1, &GenericMXReader::getPartInformation, timestep, part_ids,
             part_descriptions, part_types, number_of_nodes, number_of_elements, ijk_dimensions,
             iblanking_options);
}

int MX_getPartNodeIds(int timestep, int part_number, int* ids) {
  return ask(__func__, -1, &GenericMXReader::getPartNodeIds, timestep, part_number, ids);
}

int MX_getPartElementIds(int timestep, int part_number, int element_type, int* ids) {
  return ask(__func__, -1, &GenericMXReader::getPartElementIds, timestep, part_number, element_type,
             ids);
}

int MX_getBoundingBox(int timestep, float* box) {
  return ask(__func__, -1, &GenericMXReader::getBoundingBox, timestep, box);
}

void MX_finishedGeometryProcessing(void) {
  if (GenericMXReader* reader = readerFor(__func__)) reader->finishedGeometryProcessing();
}

int MX_getPartCoordinates(int timestep, int part_number, float* x, float* y, float* z) {
  session().log().write("[MX_getPartCoordinates] part_number-[%d]\n", part_number);
  return ask(__func__, -1, &GenericMXReader::getPartCoordinates, timestep, part_number, x, y, z);
}

int MX_getBlockStructuredCoordinates(int timestep, int blockNumber, float* x, float* y, float* z) {
  session().log().write("[MX_getBlockStructuredCoordinates] blockNumber-[%d]\n", blockNumber);
  return ask(__func__, -1, &GenericMXReader::getBlockStructuredCoordinates, timestep, blockNumber,
             x, y, z);
}

int MX_getBlockIblanking(int timestep, int blockNumber, int* iblanking) {
  session().log().write("[MX_getBlockIblanking] blockNumber-[%d]\n", blockNumber);
  return ask(__func__, -1, &GenericMXReader::getBlockIblanking, timestep, blockNumber, iblanking);
}

int MX_getElementConnectivity(int timestep, int part_number, int element_type, int* connectivity) {
  session().log().write("[MX_getElementConnectivity] part_number-[%d] element_type-[%d]\n",
                        part_number, element_type);
  return ask(__func__, -1, &GenericMXReader::getElementConnectivity, timestep, part_number,
             element_type, connectivity);
}

int MX_getNSidedNumberOfNodesPerFace(int timestep, int part_number, int* values) {
  session().log().write("[MX_getNSidedNumberOfNodesPerFace] part_number-[%d]\n", part_number);
  return ask(__func__, -1, &GenericMXReader::getNSidedNumberOfNodesPerFace, timestep, part_number,
             values);
}

int MX_getDataSizeForNSidedConnectivity(int timestep, int part_number) {
  // The workflow log has another name for this call than the export's; its readers expect that.
  session().log().write("[MX_getDataSizeForNSidedElements] part_number-[%d]\n", part_number);
  return ask(__func__, 0, &GenericMXReader::getDataSizeForNSidedConnectivity, timestep,
             part_number);
}

int MX_getNSidedConnectivity(int timestep, int part_number, int* values) {
  session().log().write("[MX_getNSidedConnectivity] part_number-[%d]\n", part_number);
  return ask(__func__, -1, &GenericMXReader::getNSidedConnectivity, timestep, part_number, values);
}

int MX_getNFacedNumberOfFacesPerElement(int timestep, int part_number, int* values) {
  session().log().write("[MX_getNFacedNumberOfFacesPerElement] part_number-[%d]\n", part_number);
  return ask(__func__, -1, &GenericMXReader::getNFacedNumberOfFacesPerElement, timestep,
             part_number, values);
}

int MX_getDataSizeForNFacedNodesPerFace(int timestep, int part_number) {
  session().log().write("[MX_getDataSizeForNFacedNodesPerFace] part_number-[%d]\n", part_number);
  return ask(__func__, 0, &GenericMXReader::getDataSizeForNFacedNodesPerFace, timestep,
             part_number);
}

int MX_getNFacedNodesPerFace(int timestep, int part_number, int* values) {
  session().log().write("[MX_getNFacedNodesPerFace] part_number-[%d]\n", part_number);
  return ask(__func__, -1, &GenericMXReader::getNFacedNodesPerFace, timestep, part_number, values);
}

int MX_getDataSizeForNFacedConnectivity(int timestep, int part_number) {
  session().log().write("[MX_getDataSizeForNFacedConnectivity] part_number-[%d]\n", part_number);
  return ask(__func__, 0, &GenericMXReader::getDataSizeForNFacedConnectivity, timestep,
             part_number);
}

int MX_getNFacedConnectivity(int timestep, int part_number, int* values) {
  session().log().write("[MX_getNFacedConnectivity] part_number-[%d]\n", part_number);
  return ask(__func__, -1, &GenericMXReader::getNFacedConnectivity, timestep, part_number, values);
}

int MX_hasBorderFaces(int timestep, int part_number, int* counts) {
  return ask(__func__, 0, &GenericMXReader::hasBorderFaces, timestep, part_number, counts);
}

int MX_getBorderFacesConnByType(int timestep, int part_number, int element_type, int* connectivity,
                                int* parent_ids, short* parent_types) {
  return ask(__func__, -1, &GenericMXReader::getBorderFacesConnByType, timestep, part_number,
             element_type, connectivity, parent_ids, parent_types);
}

int MX_hasMeasuredGeometry(void) {
  return ask(__func__, 0, &GenericMXReader::hasMeasuredGeometry);
}

int MX_getNumberOfMeasuredParticles(int timestep) {
  return ask(__func__, 0, &GenericMXReader::getNumberOfMeasuredParticles, timestep);
}

int MX_getMeasuredParticleIds(int timestep, int* ids) {
  return ask(__func__, -1, &GenericMXReader::getMeasuredParticleIds, timestep, ids);
}

int MX_getMeasuredParticleCoordinates(int timestep, float* x, float* y, float* z) {
  return ask(__func__, -1, &GenericMXReader::getMeasuredParticleCoordinates, timestep, x, y, z);
}
