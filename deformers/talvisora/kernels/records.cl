// SPDX-License-Identifier: Apache-2.0
// Second part of the OpenCL program: the records of records.h, field by field. A three-component vector takes
// sixteen bytes on the device; records.h holds the sizes and offsets by assertion.

struct BlockInfo {
    int numMatrices; // joints of the chain
    float env;       // the block's envelope
    int simple;      // not 0: one control point per joint; 0: three
};

struct Tweak {
    float collision;
    float collisionPlane; // already in the vectors
    float bulge;
    float collisionBulge;
    float centerIn;
    float centerOut;
    float slidePrevIn;
    float slideNextIn;
    float slidePrevOut;
    float slideNextOut;
    float slideOrthoPrevIn;
    float slideOrthoNextIn;
    float slideOrthoPrevOut;
    float slideOrthoNextOut;
};

struct TweakVectors {
    float3 deformVec;   // bisector, into the inside of the bend
    float3 nextVec;     // towards the next joint
    float3 prevVec;     // towards the previous joint
    float3 planeNormal; // of the collision plane
    float3 planePoint;  // on the collision plane
    float3 zAxis;       // bend axis
    float angleWeight;  // radians that the joint is bent more than at rest
};
