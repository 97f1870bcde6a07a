// The one object that knows the whole configuration of an extraction: it registers the
// pipeline's options, reads them from a property snapshot (never from the command line,
// so it can be driven without one), composes the feature's name, and runs the pipeline.
#ifndef TAVLIN_CORE_FEATURE_INTERESTPOINTFEATURE_H
#define TAVLIN_CORE_FEATURE_INTERESTPOINTFEATURE_H

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "basis/Timer.h"
#include "core/array/Array2dTem.h"
#include "core/feature/FeatureDefinition.h"
#include "core/geometry/InterestPointSelector.h"
#include "core/matrix/MatList.h"
#include "core/vector/VectorTem.h"
#include "persistency/File.h"
#include "util/Quid.h"
#include "util/PropertySet.h"
#include "util/Random.h"
#include "util/TimeStats.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

class FeatureTable;
class FeatureTableResult;
class ImageFiles;
class PointDescriptorTable;
class SpatialQuantizer;

class InterestPointFeature
{
public:
    // Registers the pipeline's options on the CmdOptions singleton.
    static void AddCmdOptions();

    explicit InterestPointFeature(Util::PropertySet& properties);
    ~InterestPointFeature();
    InterestPointFeature(const InterestPointFeature&) = delete;
    InterestPointFeature& operator=(const InterestPointFeature&) = delete;

    // Runs one image: points (detected or loaded), regions file, picture of the points,
    // descriptors, thinning, output. False when the image could not be processed (an
    // unknown detector, a regions file that could not be read, a failed descriptor); the
    // error is logged.
    bool FindInterestPoints(Array::Array2dVec3UInt8* image, Quid quid, Persistency::File output, bool imageIsRegion,
                            Persistency::File loadRegions, Persistency::File saveRegions,
                            Persistency::File drawRegions = Persistency::File());

    // FindInterestPoints in two parts, for a batch on several workers. ExtractPoints
    // changes nothing in the feature, so workers may run it at once on one feature,
    // each with its own stats and files: points, picture, regions, descriptors and the
    // projection, the files handed to `files`. It leaves in `rest` the table still to
    // be thinned and written or collected (none with a codebook or without descriptor).
    // FinishPoints does that, and must run on one image after another in input order:
    // the random generator of the thinning runs on from image to image. It takes `timer`
    // as ExtractPoints started it.
    bool ExtractPoints(Array::Array2dVec3UInt8* image, Quid quid, bool imageIsRegion, Persistency::File loadRegions,
                       ImageFiles& files, Util::TimeStats& stats, Timer& timer,
                       std::unique_ptr<PointDescriptorTable>& rest);
    void FinishPoints(std::unique_ptr<PointDescriptorTable> table, Quid quid, Persistency::File output, Timer& timer);
    // A new table of the detector's points; null after a reported unknown name.
    PointDescriptorTable* ApplyDetector(Array::Array2dVec3UInt8* image, std::string detector);
    // Fills the table's descriptors; some routines replace the table. A descriptor that
    // fails reports, deletes the table and leaves it null.
    void ComputeDescriptors(PointDescriptorTable*& table, Array::Array2dVec3UInt8* image, std::string descriptor);

    // The spatial cells of every projection, from `pointSelector`; adds the parameter
    // "ps" to the feature name for a given selector text. Throws what a selector throws
    // for a bad text.
    void ConfigurePyramid(Util::PropertySet& properties);
    // Checks, before any image, that `codebookMode` can run with the codebook and loads
    // what the mode needs beside it. False after a reported error.
    bool PrepareCodebookMode();

    // The table projected onto the codebook: one row per spatial cell (one row per
    // point with its nearest word in mode "hardindex"). Takes `table` over. Throws
    // "Dimensionality mismatch!" or "bye" when the descriptors do not fit the codebook
    // or the reduction; null after a reported failure.
    PointDescriptorTable* ProjectOntoCodebook(PointDescriptorTable* table, std::string mode, int width, int height,
                                              Quid quid);

    // Projection workers: each adds the points of `descriptors` accepted by the cells
    // into vectors[r] (and counts[r] where the mode divides by it). False after a
    // reported failure.
    bool ProjectHardMatrix(std::vector<Vector::VectorTem<double>*>& vectors, Array::Array2dReal64* descriptors,
                           int width, int height, std::vector<int>& xs, std::vector<int>& ys,
                           std::vector<double>& counts);
    bool ProjectUNC(std::vector<Vector::VectorTem<double>*>& vectors, Array::Array2dReal64* descriptors, int width,
                    int height, std::vector<int>& xs, std::vector<int>& ys, std::vector<double>& counts);
    bool ProjectSig(std::vector<Vector::VectorTem<double>*>& vectors, std::string mode,
                    Array::Array2dReal64* descriptors, int width, int height, std::vector<int>& xs,
                    std::vector<int>& ys, std::vector<double>& counts);
    bool ProjectForest(std::vector<Vector::VectorTem<double>*>& vectors, Array::Array2dReal64* descriptors, int width,
                       int height, std::vector<int>& xs, std::vector<int>& ys, std::vector<double>& counts);
    // Replaces the table's descriptors by the index of each point's nearest word.
    bool ProjectHardIndex(Array::Array2dReal64* descriptors, PointDescriptorTable* table);

    // Takes the matrices over; the feature owns them from here on.
    void SetCodebook(Array::Array2dReal64* codebook, Array::Array2dReal64* reduce);
    void SetCodebookDiffStat(Matrix::MatList* diffStat);
    const std::vector<Geometry::InterestPointSelector*>& GetPointSelectors() const { return mPointSelectors; }

    // Writes the collected cluster input (point columns 0) in the output format.
    bool WriteClusterInput(Persistency::File output) const;
    const FeatureTable* GetClusterInputData() const { return mClusterInputData; }

    const std::string& GetName() const { return mName; }
    const FeatureDefinition& GetFeatureDefinition() const { return mFeatureDefinition; }
    const std::vector<double>& GetScales() const { return mScales; }
    int GetBorderWidth() const { return mBorderWidth; }
    int GetKeepLimited() const { return mKeepLimited; }
    bool GetRecGauss() const { return mRecGauss; }
    bool GetClusterInput() const { return mClusterInput; }
    const std::string& GetOutputFormat() const { return mOutputFormat; }
    Util::Random& GetRandom() { return mRandom; }
    Util::TimeStats& GetTimeStats() { return mTimeStats; }
    int GetSurfHaarSize() const { return mSurfHaarSize; }
    int GetSurfSubregionSize() const { return mSurfSubregionSize; }
    int GetSurfSpaciality() const { return mSurfSpaciality; }

    // The feature owns the table from here on and deletes what it held before.
    void SetForest(FeatureTable* forest);
    Array::Array2dReal64* GetCodebook() const { return mCodebook; }
    Array::Array2dReal64* GetCodebookReduce() const { return mCodebookReduce; }
    FeatureTable* GetForest() const { return mForest; }
    Matrix::MatList* GetCodebookDiffStat() const { return mCodebookDiffStat; }

private:
    // "huesift": SIFT at the table's points joined with their hue histograms x 512.
    void JoinHueToSift(PointDescriptorTable* table, Array::Array2dVec3UInt8* image);
    // Keeps mKeepLimited rows chosen by the shuffle of mRandom, in their order.
    void KeepLimited(PointDescriptorTable*& table);
    void AddClusterInput(const PointDescriptorTable& table, Quid quid);
    // Steps of a run with a codebook: the projection replaces the table and is written.
    bool ProjectPoints(std::unique_ptr<PointDescriptorTable>& table, Array::Array2dVec3UInt8* working, Quid quid,
                       ImageFiles& files, Util::TimeStats& stats);
    // Mode "forest": mForest must hold whole trees whose leaves fit its code word count.
    bool CheckForest();
    // The descriptors multiplied by mCodebookReduce when that is set (the product then
    // in `product`), else the descriptors themselves; null after a reported failure.
    Array::Array2dReal64* ReduceDescriptors(Array::Array2dReal64* descriptors,
                                            std::unique_ptr<Array::Array2dReal64>& product);

    bool mClusterInput = false;
    FeatureTable* mClusterInputData = nullptr;
    Util::TimeStats mTimeStats{1};
    int mVerbose = 0;
    int mBorderWidth = 0;
    bool mRecGauss = false;
    std::string mName;
    FeatureDefinition mFeatureDefinition;
    int mKeepLimited = 0;
    std::string mOutputFormat;
    FeatureTable* mForest = nullptr;
    Array::Array2dReal64* mCodebook = nullptr;
    Array::Array2dReal64* mCodebookReduce = nullptr;
    Matrix::MatList* mCodebookDiffStat = nullptr;
    FeatureTableResult* mResult = nullptr;
    std::vector<Geometry::InterestPointSelector*> mPointSelectors;
    std::vector<double> mScales;
    int mSurfHaarSize = 0;
    int mSurfSubregionSize = 0;
    int mSurfSpaciality = 0;
    SpatialQuantizer* mQuantizer = nullptr;
    // Workers quantize one at a time.
    std::mutex mQuantizerMutex;
    Util::PropertySet* mProperties = nullptr;
    Util::Random mRandom;
};

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
