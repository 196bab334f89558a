#include "serialize_test_types.h"

#include "document/document_reader.h"
#include "document/document_writer.h"
#include "document/serialization_context.h"

namespace serialize_test {

using tv::ClassField;
using tv::Type;

std::vector<SerializerCall>& TaggedCalls() {
  static std::vector<SerializerCall> calls;
  return calls;
}

namespace {

template <typename Context>
void RecordCall(Context* context) {
  SerializerCall call;
  if (context != nullptr && !context->object_stack.empty()) {
    call.top_object = context->object_stack.back().second;
    call.top_type = context->object_stack.back().first->name;
  }
  call.stack_size = context != nullptr ? context->object_stack.size() : 0;
  TaggedCalls().push_back(call);
}

class TaggedSerializer final : public tv::TypeSerializer {
public:
  bool Deserialize(tv::DocumentReader& reader, void* object, Type* type, tv::DeserializationContext* context,
                   const char* name) override {
    RecordCall(context);
    std::string kind;
    if (!reader.Read("Kind", kind) || kind != "tagged") return false;
    return tv::Deserialize(reader, object, type, context, name, true);
  }
  bool Serialize(tv::DocumentWriter& writer, const void* object, Type* type, tv::SerializationContext* context,
                 const char* name) override {
    RecordCall(context);
    return writer.Write("Kind", std::string("tagged")) && tv::Serialize(writer, object, type, context, name, true);
  }
};

class TenfoldAdapter final : public tv::FieldAdapter {
public:
  tv::TypeValue MakeWriteValue(Type* field_type, const void* value, tv::SerializationContext*) const override {
    const int32_t tenfold = *static_cast<const int32_t*>(value) * 10;
    return tv::TypeValue(field_type, &tenfold);
  }
  void ProcessReadValue(Type*, void* value, tv::DeserializationContext*) const override {
    *static_cast<int32_t*>(value) /= 10;
  }
};

struct HiddenAccess {
  static int32_t Get(const Sample& sample) { return sample.stored; }
  static void Set(Sample& sample, const int32_t& value) { sample.stored = value; }
};

// A vector reached only through element interfaces, as a container of another layout would be.
template <typename T>
class InterfaceOnlyFactory final : public tv::ContainerInterfaceFactory {
public:
  explicit InterfaceOnlyFactory(Type* element) : ContainerInterfaceFactory(element), vector_(element) {}
  std::unique_ptr<tv::ContainerReadInterface> MakeReadInterface(const void* object) const override {
    return vector_.MakeReadInterface(object);
  }
  std::unique_ptr<tv::ContainerWriteInterface> MakeWriteInterface(void* object) const override {
    return vector_.MakeWriteInterface(object);
  }

private:
  tv::StdVectorInterfaceFactory<T> vector_;
};

} // namespace

void RegisterTestTypes(tv::TypeRegistry& registry) {
  TaggedCalls().clear();

  Type* settings = tv::RegisterValueType<Settings>(registry);
  tv::AddMemberField(settings, "Count", &Settings::count);
  tv::AddMemberField(settings, "Scale", &Settings::scale);
  tv::AddMemberField(settings, "Level", &Settings::level);
  tv::AddMemberField(settings, "Letter", &Settings::letter);
  tv::AddMemberField(settings, "Shift", &Settings::shift);
  tv::AddMemberField(settings, "Label", &Settings::label);
  tv::AddMemberField(settings, "Order", &Settings::order);
  tv::AddMemberField(settings, "Offset", &Settings::offset);

  Type* record = tv::RegisterValueType<Record>(registry);
  record->AddField("Id", new ClassField<Record, int32_t>(&Record::id));
  record->AddField("Values", new ClassField<Record, std::vector<int32_t>>(&Record::values));
  record->AddField("Points", new ClassField<Record, std::vector<tv::Vector3>>(&Record::points));
  record->AddField("Order", new ClassField<Record, tv::RotationOrder>(&Record::order));
  record->AddField<bool>("Hidden", new ClassField<Record, bool>(&Record::hidden), false, false);

  Type* part = tv::RegisterValueType<Part>(registry);
  tv::AddMemberField(part, "Enabled", &Part::enabled);
  tv::AddMemberField(part, "Weight", &Part::weight);
  Type* wheel = tv::RegisterValueType<Wheel>(registry);
  wheel->AddBase(part, new tv::ConcreteTypeCaster<Wheel, Part>());
  wheel->AddField<float>("Radius", new ClassField<Wheel, float>(&Wheel::radius), 1.0f);

  Type* strict = tv::RegisterValueType<Strict>(registry);
  strict->AddField("Must", new ClassField<Strict, int32_t>(&Strict::must));
  Type* loose = tv::RegisterValueType<Loose>(registry);
  loose->AddBase(strict, new tv::ConcreteTypeCaster<Loose, Strict>());
  loose->AddField("After", new ClassField<Loose, int32_t>(&Loose::after));
  loose->AddField("Tail", new ClassField<Loose, std::vector<int32_t>>(&Loose::tail));

  Type* tagged = tv::RegisterValueType<Tagged>(registry);
  tagged->serializer = std::make_unique<TaggedSerializer>();
  tagged->AddField("Value", new ClassField<Tagged, int32_t>(&Tagged::value));

  Type* wrapped = tv::RegisterValueType<Wrapped>(registry);
  wrapped->document_scope = "Wrapper";
  wrapped->AddField("V", new ClassField<Wrapped, int32_t>(&Wrapped::v));

  Type* scaled = tv::RegisterValueType<Scaled>(registry);
  scaled->AddField("Amount", new ClassField<Scaled, int32_t>(&Scaled::amount));
  scaled->FindField("Amount")->adapter = std::make_unique<TenfoldAdapter>();

  Type* holder = tv::RegisterValueType<Holder>(registry);
  holder->AddField("Scene", new ClassField<Holder, std::shared_ptr<tv::Scene>>(&Holder::scene));
  holder->AddField("Marker", new ClassField<Holder, int32_t>(&Holder::marker));

  Type* sample_base = tv::RegisterValueType<SampleBase>(registry);
  tv::AddMemberField(sample_base, "Id", &SampleBase::id);
  tv::AddMemberField(sample_base, "Label", &SampleBase::label);
  Type* inner = tv::RegisterValueType<SampleInner>(registry);
  tv::AddMemberField(inner, "Weight", &SampleInner::weight);
  inner->AddField("Values", new ClassField<SampleInner, std::vector<int32_t>>(&SampleInner::values));
  inner->AddField("Tag", new ClassField<SampleInner, Tagged>(&SampleInner::tag));
  tv::RegisterVectorType<SampleInner>(registry);
  tv::RegisterVectorType<Tagged>(registry);
  Type* sample = tv::RegisterValueType<Sample>(registry);
  sample->AddBase(sample_base, new tv::ConcreteTypeCaster<Sample, SampleBase>());
  tv::AddMemberField(sample, "Flag", &Sample::flag);
  tv::AddMemberField(sample, "Letter", &Sample::letter);
  tv::AddMemberField(sample, "Shift", &Sample::shift);
  tv::AddMemberField(sample, "Level", &Sample::level);
  tv::AddMemberField(sample, "Port", &Sample::port);
  tv::AddMemberField(sample, "Scale", &Sample::scale);
  tv::AddMemberField(sample, "Name", &Sample::name);
  tv::AddMemberField(sample, "Order", &Sample::order);
  sample->AddField("Count", new ClassField<Sample, int32_t>(&Sample::count));
  sample->AddField("Mask", new ClassField<Sample, uint32_t>(&Sample::mask));
  sample->AddField("Hidden", new tv::ClassProperty<Sample, int32_t, HiddenAccess>());
  sample->AddField("Inner", new ClassField<Sample, SampleInner>(&Sample::inner));
  sample->AddField("Inners", new ClassField<Sample, std::vector<SampleInner>>(&Sample::inners));
  sample->AddField("Tags", new ClassField<Sample, std::vector<Tagged>>(&Sample::tags));
  tv::RegisterValueType<std::vector<SampleBase>>(registry)->container_factory =
      std::make_unique<InterfaceOnlyFactory<SampleBase>>(sample_base);
  sample->AddField("Labels", new ClassField<Sample, std::vector<SampleBase>>(&Sample::labels));
}

} // namespace serialize_test
