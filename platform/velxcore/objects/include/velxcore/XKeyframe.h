#pragma once

namespace VelX {

class XDatabase;

// One key of an animation, by position in the animation's key list.
class XKeyframe {
public:
    XKeyframe() = default;
    XKeyframe(XDatabase* database, int animation, int index) : m_database(database), m_animation(animation), m_index(index) {}

    bool IsValid() const;
    int Index() const { return m_index; }
    float InputValue() const;    // the frame
    float OutputValue() const;   // the value, in internal units
    // Moving a key in time keeps the key list sorted; this handle follows its key.
    XKeyframe& SetInputValue(float frame);
    XKeyframe& SetOutputValue(float value);
    int InTangentType() const;
    int OutTangentType() const;
    XKeyframe& SetTangentTypes(int inType, int outType);

private:
    float field(int field) const;
    bool setField(int field, float value);

    XDatabase* m_database = nullptr;
    int m_animation = -1;
    int m_index = -1;
};

}  // namespace VelX
